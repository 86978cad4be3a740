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

/// A playlist of all songs that a device may have takes about as much.
constexpr off_t kLargestPlaylist = off_t{2} << 20;

/// At most `size` bytes of the file.
std::string contentOf(const Descriptor& file, off_t size) {
  std::string text(static_cast<std::size_t>(size), '\0');
  const ssize_t bytes = pread(file.get(), text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(bytes, 0)));
  return text;
}

/// The number of a line "File<number>=<something>" in a PLS file; empty for any other.
std::string_view entryNumber(std::string_view line) {
  constexpr std::size_t kMostDigits = 6;
  const std::string_view rest = line.substr(std::min<std::size_t>(line.size(), 4));
  const std::string_view digits = rest.substr(0, rest.find_first_not_of("0123456789"));
  const bool hasValue = rest.size() > digits.size() + 1 && rest[digits.size()] == '=';
  const bool isNumber = !digits.empty() && digits.size() <= kMostDigits && digits[0] != '0';
  return hasValue && isNumber ? digits : std::string_view();
}

/// The parser counts the lines that begin with "File", and looks for so many different numbers.
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

/// The parser's XML reader converts UTF-16 and UTF-32 up to a zero, which it steps over when the
/// text ends within a character, and writes what it finds behind.
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
  // What the device does not tell is for the miner to find out.
  if (!file || fstat(file.get(), &status) != 0) return nullptr;
  if (!S_ISREG(status.st_mode)) return "it is no regular file";
  if (status.st_size > kLargestPlaylist) return "it is larger than 2 MiB";
  const std::string text = contentOf(file, status.st_size);
  if (looksForMissingEntries(text)) return "its entries are misnumbered";
  if (endsWithinCharacter(text)) return "it ends within a character";
  return nullptr;
}

}  // namespace orvel
