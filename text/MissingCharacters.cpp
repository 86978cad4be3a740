#include "text/MissingCharacters.h"

#include <algorithm>
#include <bit>
#include <cassert>

#include "base/Utf8.h"

namespace orvel {

MissingCharacters::MissingCharacters(char32_t firstCharacter, char32_t last)
    : first(firstCharacter), present((last - firstCharacter) / 64 + 1, ~std::uint64_t{0}) {
  present.back() >>= 63 - (last - firstCharacter) % 64;
}

void MissingCharacters::remove(char32_t character) {
  const char32_t position = character - first;  // wraps to a large value below the range
  if (position / 64 < present.size())
    present[position / 64] &= ~(std::uint64_t{1} << position % 64);
}

void MissingCharacters::remove(std::u16string_view characters) {
  for (const char32_t character : characters) {
    if (character != utf8::kReplacement) remove(character);
  }
}

void MissingCharacters::count() {
  for (const std::uint64_t word : present) {
    before.push_back(static_cast<std::uint16_t>(total));
    total += std::popcount(word);
  }
}

char32_t MissingCharacters::at(unsigned number) const {
  assert(!before.empty() && "count() was not called");
  if (number >= total) return utf8::kReplacement;
  const std::size_t index = std::ranges::upper_bound(before, number) - before.begin() - 1;
  std::uint64_t word = present[index];
  for (unsigned skip = number - before[index]; skip > 0; --skip) word &= word - 1;
  return first + static_cast<char32_t>(index * 64 + std::countr_zero(word));
}

}  // namespace orvel
