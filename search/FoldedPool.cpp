#include "search/FoldedPool.h"

#include <orvel/Search.h>

#include <algorithm>
#include <cstring>

namespace orvel::search {

namespace {

constexpr char kGap = ' ';
constexpr char kWordBegin = '\1';

std::string withoutGaps(const std::string& folded) {
  std::string text = " ";
  std::copy_if(folded.begin(), folded.end(), std::back_inserter(text),
               [](char c) { return c != kGap && c != kWordBegin; });
  return text;
}

}  // namespace

void FoldedPool::add(std::string_view name, std::string_view reading) {
  begins.push_back(static_cast<std::uint32_t>(all.size()));
  all += foldedText(name);
  if (reading.empty()) return;
  const std::string sound = foldedText(reading);
  all += sound;
  // People write syllables together, too.
  if (sound.find(kGap, 1) != std::string::npos) all += withoutGaps(sound);
}

std::string_view FoldedPool::operator[](std::size_t place) const {
  const std::size_t end = place + 1 < begins.size() ? begins[place + 1] : all.size();
  return std::string_view(all).substr(begins[place], end - begins[place]);
}

std::vector<std::uint8_t> FoldedPool::gradesFor(std::string_view word) const {
  std::vector<std::uint8_t> grades(size(), kNothing);
  gradeAfter(kGap, word, grades);
  gradeAfter(kWordBegin, word, grades);
  return grades;
}

void FoldedPool::gradeAfter(char mark, std::string_view word,
                            std::vector<std::uint8_t>& grades) const {
  const std::string wanted = mark + std::string(word);
  const char* const end = all.data() + all.size();
  std::size_t place = 0;
  for (const char* from = all.data(); from < end;) {
    const auto* const found = static_cast<const char*>(
        memmem(from, static_cast<std::size_t>(end - from), wanted.data(), wanted.size()));
    if (found == nullptr) return;
    const auto offset = static_cast<std::uint32_t>(found - all.data());
    while (place + 1 < begins.size() && begins[place + 1] <= offset) ++place;
    const char* const after = found + wanted.size();
    const Grade grade = after == end || *after == kGap ? kWhole : kBeginning;
    grades[place] = std::min<std::uint8_t>(grades[place], grade);
    from = found + 1;
  }
}

std::size_t FoldedPool::memory() const {
  return all.capacity() + begins.capacity() * sizeof begins[0];
}

void FoldedPool::shrink() {
  all.shrink_to_fit();
  begins.shrink_to_fit();
}

}  // namespace orvel::search
