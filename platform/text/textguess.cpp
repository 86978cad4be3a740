#include <array>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "platform/text/TextEncoding.h"

namespace {

using namespace orvel;

int digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/// Reads pairs of hexadecimal digits; false when they are none.
bool parseHex(std::string_view hex, std::string& bytes) {
  if (hex.size() % 2 != 0) return false;
  for (size_t i = 0; i < hex.size(); i += 2) {
    const int high = digit(hex[i]), low = digit(hex[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

using Setter = void (*)(TrackRecord*, const char*, unsigned, const char*);
constexpr std::array<Setter, 5> setters{setTrackTitle, setTrackArtist, setTrackAlbum, setTrackGenre,
                                        setTrackComposer};

/// Fills a record from a line of five fields; false when the line is malformed.
bool parseLine(std::string_view line, TrackRecord& track) {
  for (size_t i = 0; i < setters.size(); ++i) {
    const size_t tab = line.find('\t');
    if ((tab == std::string_view::npos) != (i + 1 == setters.size())) return false;
    std::string_view field = line.substr(0, tab);
    const bool unicode = field.starts_with("u:");
    if (unicode) field.remove_prefix(2);
    std::string bytes;
    if (!parseHex(field, bytes)) return false;
    if (!bytes.empty()) {
      setters[i](&track, bytes.data(), static_cast<unsigned>(bytes.size()),
                 unicode ? "UTF-8" : "ISO-8859-1");
    }
    line.remove_prefix(tab == std::string_view::npos ? line.size() : tab + 1);
  }
  return true;
}

/// Writes a text with blanks in place of control characters.
void print(const TrackText& text, std::string& out) {
  if (isMetadataEmptyUTF8(text)) return;
  const std::string_view bytes(text.bytes, text.length);
  for (size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    // The control characters above ASCII are the two bytes C2 80 to C2 9F.
    const bool upper = byte == 0xC2 && static_cast<unsigned char>(bytes[i + 1]) < 0xA0;
    out += byte < 0x20 || byte == 0x7F || upper ? ' ' : bytes[i];
    if (upper) ++i;
  }
}

}  // namespace

/// Reads tracks as lines of five tab-separated fields, each the bytes of a text in hexadecimal that
/// a tag claims as ISO-8859-1, or as UTF-8 with "u:" in front, and writes each track's five texts
/// in UTF-8 to a line, separated by tabs.
int main() {
  std::ios::sync_with_stdio(false);
  std::string line;
  for (unsigned number = 1; std::getline(std::cin, line); ++number) {
    TrackRecord track;
    if (!parseLine(line, track)) {
      destroyTrack(&track);
      std::cout.flush();
      std::cerr << "line " << number << ": five tab-separated fields of hex digits expected\n";
      return 2;
    }
    TrackRecord* const guessed = guess_and_convert_by_prio(&track, "ISO-8859-1");
    destroyTrack(&track);
    if (!guessed) {
      std::cerr << "out of memory\n";
      return 1;
    }
    std::string out;
    for (const TrackText* text : {&guessed->title, &guessed->artist, &guessed->album,
                                  &guessed->genre, &guessed->composer}) {
      if (text != &guessed->title) out += '\t';
      print(*text, out);
    }
    destroyTrack(guessed);
    std::free(guessed);
    std::cout << out << '\n';
  }
}
