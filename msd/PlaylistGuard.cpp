#include "msd/PlaylistGuard.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/algorithm/string/find.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <string_view>
#include <unordered_set>

#include "base/Descriptor.h"

namespace orvel {

namespace {

/// About the size of a playlist that names every song of a full device.
constexpr off_t kLargestPlaylist = off_t{2} << 20;

/// Reads at most `size` bytes from the beginning of the file.
std::string contentOf(const Descriptor& file, off_t size) {
  std::string text(static_cast<std::size_t>(size), '\0');
  const ssize_t bytes = pread(file.get(), text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(bytes, 0)));
  return text;
}

/// Returns the digits of a PLS line "File<number>=<value>", which begins with "File"; empty for any
/// other line.
std::string_view entryNumber(std::string_view line) {
  constexpr std::size_t kMostDigits = 6;
  constexpr std::string_view kKey = "File";
  const std::string_view rest = line.substr(kKey.size());
  const std::string_view digits = rest.substr(0, rest.find_first_not_of("0123456789"));
  const bool hasValue = rest.size() > digits.size() + 1 && rest[digits.size()] == '=';
  const bool isNumber = !digits.empty() && digits.size() <= kMostDigits && digits[0] != '0';
  return hasValue && isNumber ? digits : std::string_view();
}

/// True for a PLS file whose entries are misnumbered. The parser counts the lines that begin with
/// "File" and searches until it has found as many different numbers: possibly for ever.
bool looksForMissingEntries(std::string_view text) {
  if (boost::ifind_first(text, "[playlist]").empty()) return false;
  std::unordered_set<std::string_view> numbers;
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    line.remove_prefix(std::min(line.size(), line.find_first_not_of(" \t\v\f")));
    if (!boost::istarts_with(line, "File")) continue;
    const std::string_view number = entryNumber(line);
    if (number.empty() || !numbers.insert(number).second) return true;
  }
  return false;
}

/// True for UTF-16 and UTF-32 texts that end in mid-character. The parser's XML reader converts up
/// to a terminating zero; such a text hides it, and the reader writes beyond its buffer.
bool endsWithinCharacter(std::string_view text) {
  using namespace std::string_view_literals;
  using boost::starts_with;
  if (starts_with(text, "\xFF\xFE\0\0"sv) || starts_with(text, "\0\0\xFE\xFF"sv)) {
    return text.size() % 4 != 0;
  }
  return (starts_with(text, "\xFF\xFE"sv) || starts_with(text, "\xFE\xFF"sv)) &&
         text.size() % 2 != 0;
}

}  // namespace

const char* harmOfPlaylist(const std::string& path) {
  const Descriptor file = Descriptor::ofFile(path);
  struct stat status {};
  // The miner reads the file itself and reports the error.
  if (!file || fstat(file.get(), &status) != 0) return nullptr;
  if (!S_ISREG(status.st_mode)) return "it is no regular file";
  if (status.st_size > kLargestPlaylist) return "it is larger than 2 MiB";
  const std::string text = contentOf(file, status.st_size);
  if (looksForMissingEntries(text)) return "its entries are misnumbered";
  if (endsWithinCharacter(text)) return "it ends within a character";
  return nullptr;
}

}  // namespace orvel
