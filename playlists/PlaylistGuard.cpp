#include "playlists/PlaylistGuard.h"

#include <glib.h>
#include <sys/stat.h>

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/erase.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <string_view>
#include <unordered_set>

#include "base/Descriptor.h"
#include "base/readAt.h"

namespace orvel {

namespace {

// The largest lists take the parser 2.5 s and 170 MB.
constexpr off_t kMostBytes = off_t{32} << 20;
constexpr std::ptrdiff_t kMostParts = 1000000;

/// The parser's XML reader recurses for each attribute of an element when it frees the element.
constexpr std::ptrdiff_t kMostAttributes = 250000;

/// The parser looks at a whole name once for each of its characters. This many looks take half a
/// second.
constexpr std::size_t kMostNameSteps = 100000000;

/// Reads the whole file, or its beginning when the device fails.
std::string contentOf(const Descriptor& file) {
  struct stat status {};
  fstat(file.get(), &status);
  std::string text(static_cast<std::size_t>(std::clamp<off_t>(status.st_size, 0, kMostBytes)),
                   '\0');
  int error = 0;  // the miner reads the file itself and reports it
  text.resize(readAt(file.get(), text.data(), text.size(), 0, error));
  return text;
}

/// The entries of a PLS file, counted as the parser counts them.
///
/// The parser counts the lines whose key begins with "file", and then tries the keys "file1",
/// "file2" and so on until it has found as many. Where a key is missing it tries for hours. It also
/// measures each name that is not UTF-8 once for each of its characters.
class PlsEntries {
 public:
  /// @param line  without its end
  void add(std::string_view line) {
    if (line.empty() || line[0] == '#' || line[0] == '[') return;
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return;
    const std::string_view key = boost::algorithm::trim_left_copy_if(
        line.substr(0, equals), [](char c) { return g_ascii_isspace(c) != 0; });
    if (!boost::istarts_with(key, kKey)) return;
    ++entries;
    const std::string_view number = key.substr(kKey.size());
    if (isNumber(number)) numbers.insert(number);
    const std::string_view name = line.substr(equals + 1);
    if (g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr) == FALSE) {
      nameSteps += name.size() * name.size();
    }
  }

  [[nodiscard]] bool areMisnumbered() const { return numbers.size() != entries; }
  [[nodiscard]] bool haveCostlyNames() const { return nameSteps > kMostNameSteps; }

 private:
  static constexpr std::string_view kKey = "file";

  /// True for a number as the parser writes it, and small enough to be tried.
  static bool isNumber(std::string_view text) {
    constexpr std::size_t kMostDigits = 6;
    return !text.empty() && text.size() <= kMostDigits && text[0] != '0' &&
           text.find_first_not_of("0123456789") == std::string_view::npos;
  }

  std::size_t entries = 0;
  std::unordered_set<std::string_view> numbers;
  std::size_t nameSteps = 0;
};

bool isBlank(std::string_view line) {
  return line.find_first_not_of(" \t") == std::string_view::npos;
}

/// Calls `action` with each line of the text without its end, until it returns false.
template <class Action>
void forEachLine(std::string_view text, Action action) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    if (!action(line)) return;
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
}

bool isPls(std::string_view text) {
  bool found = false;
  forEachLine(text, [&](std::string_view line) {
    found = boost::istarts_with(line, "[playlist]");
    return isBlank(line);
  });
  return found;
}

/// Null for a PLS file that the parser survives.
const char* harmOfPls(std::string_view text) {
  PlsEntries entries;
  forEachLine(text, [&](std::string_view line) {
    entries.add(line);
    return true;
  });
  if (entries.areMisnumbered()) return "its entries are misnumbered";
  if (entries.haveCostlyNames()) return "its names are neither short nor UTF-8";
  return nullptr;
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

// The parser's XML reader waits for the end of a comment and of a document type without regard to
// the end of the file. Where a file has none, or quotes and markup hide it, the reader never ends.

constexpr std::string_view kCommentEnd = "-->";

/// @param rest  the text from the comment's beginning on
bool isCommentClosed(std::string_view rest) {
  constexpr std::size_t kBegin = std::string_view("<!--").size();
  const std::size_t end = rest.find(kCommentEnd, kBegin);
  return end != std::string_view::npos && rest[end - 1] != '-' &&
         rest.substr(0, end).find_first_of("\"'<", kBegin) == std::string_view::npos;
}

/// The parser blanks such a comment before its XML reader sees it.
bool isCommentBlanked(std::string_view rest) {
  const std::string_view upToZero = rest.substr(0, rest.find('\0'));
  const std::size_t end = upToZero.find(kCommentEnd);
  return end != std::string_view::npos &&
         upToZero.substr(0, end).find("]]>") == std::string_view::npos;
}

/// @param rest  the text from the word DOCTYPE on
bool isDoctypeClosed(std::string_view rest) {
  std::size_t at = rest.find_first_of("\"'<>");
  while (at != std::string_view::npos && rest[at] == '"') {
    const std::size_t quote = rest.find('"', at + 1);
    at = quote == std::string_view::npos ? quote : rest.find_first_of("\"'<>", quote + 1);
  }
  return at != std::string_view::npos && rest[at] == '>' && !boost::is_any_of("/?-")(rest[at - 1]);
}

/// True for a text that the XML reader never ends. In UTF-16 and UTF-32 the parser blanks nothing.
bool keepsXmlReaderWaiting(std::string_view text, bool isBlanked) {
  for (std::size_t at = text.find("<!"); at != std::string_view::npos;
       at = text.find("<!", at + 1)) {
    const std::string_view rest = text.substr(at);
    const std::size_t word = rest.find_first_not_of('-', 2);
    if (rest.starts_with("<!--")) {
      if (isBlanked && isCommentBlanked(rest)) {
        at += rest.find(kCommentEnd);
      } else if (!isCommentClosed(rest)) {
        return true;
      }
    } else if (word != std::string_view::npos && rest.substr(word).starts_with("DOCTYPE")) {
      if (!isDoctypeClosed(rest.substr(word))) return true;
    }
  }
  return false;
}

bool hasTooManyParts(std::string_view text) {
  return std::count_if(text.begin(), text.end(),
                       [](char c) { return c == '\n' || c == '\r' || c == '<'; }) > kMostParts;
}

}  // namespace

const char* misfitOfPlaylist(const Descriptor& file) {
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return nullptr;
  if (!S_ISREG(status.st_mode)) return "it is no regular file";
  return status.st_size > kMostBytes ? "it is larger than 32 MiB" : nullptr;
}

const char* harmOfPlaylist(const Descriptor& file) {
  if (const char* const misfit = misfitOfPlaylist(file)) return misfit;
  const std::string text = contentOf(file);
  if (hasTooManyParts(text)) return "it has more than a million lines";
  if (endsWithinCharacter(text)) return "it ends within a character";
  // The parser, too, reads a PLS file up to its first zero.
  const std::string_view upToZero = std::string_view(text).substr(0, text.find('\0'));
  if (isPls(upToZero)) return harmOfPls(upToZero);
  if (std::count(text.begin(), text.end(), '=') > kMostAttributes)
    return "it has too many attributes";
  const bool isWide = !text.empty() && boost::is_any_of("\xFE\xFF\0")(text[0]);
  const std::string letters =
      isWide ? boost::algorithm::erase_all_copy(text, std::string(1, '\0')) : text;
  if (keepsXmlReaderWaiting(letters, !isWide)) return "a comment or a document type has no end";
  return nullptr;
}

}  // namespace orvel
