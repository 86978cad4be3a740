#include "tools/text/TrackLine.h"

#include <array>
#include <cstdlib>
#include <new>

namespace orvel {

namespace {

int digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/// Decodes pairs of hexadecimal digits; returns nothing when the text is malformed.
std::optional<std::string> fromHex(std::string_view hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const int high = digit(hex[i]), low = digit(hex[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes += static_cast<char>(high * 16 + low);
  }
  return bytes;
}

using Setter = void (*)(TrackRecord*, const char*, unsigned, const char*);
constexpr std::array<Setter, 5> kSetters{setTrackTitle, setTrackArtist, setTrackAlbum,
                                         setTrackGenre, setTrackComposer};

/// Appends a text and replaces its control characters by blanks.
void print(const TrackText& text, std::string& out) {
  if (isMetadataEmptyUTF8(text)) return;
  for (unsigned i = 0; i < text.length; ++i) {
    const auto byte = static_cast<unsigned char>(text.bytes[i]);
    // Control characters beyond ASCII are the byte pairs C2 80 to C2 9F.
    const bool upper = byte == 0xC2 && static_cast<unsigned char>(text.bytes[i + 1]) < 0xA0;
    out += byte < 0x20 || byte == 0x7F || upper ? ' ' : text.bytes[i];
    if (upper) ++i;
  }
}

}  // namespace

void TrackRelease::operator()(TrackRecord* track) const {
  destroyTrack(track);
  std::free(track);
}

bool TaggedTrack::read(std::string_view line) {
  for (std::size_t i = 0; i < kSetters.size(); ++i) {
    const std::size_t tab = line.find('\t');
    const bool last = tab == std::string_view::npos;
    if (last != (i + 1 == kSetters.size())) return false;
    std::string_view field = line.substr(0, tab);
    const bool unicode = field.starts_with("u:");
    if (unicode) field.remove_prefix(2);
    const std::optional<std::string> bytes = fromHex(field);
    if (!bytes) return false;
    if (!bytes->empty()) {
      kSetters[i](&record, bytes->data(), static_cast<unsigned>(bytes->size()),
                  unicode ? "UTF-8" : "ISO-8859-1");
    }
    line.remove_prefix(last ? line.size() : tab + 1);
  }
  return true;
}

GuessedTrack TaggedTrack::guess() const {
  GuessedTrack guessed(guess_and_convert_by_prio(&record, "ISO-8859-1"));
  if (guessed == nullptr) throw std::bad_alloc();
  return guessed;
}

std::optional<std::string> guessTrackLine(std::string_view line) {
  TaggedTrack track;
  if (!track.read(line)) return std::nullopt;
  const GuessedTrack guessed = track.guess();
  std::string out;
  print(guessed->title, out);
  for (const TrackText* text :
       {&guessed->artist, &guessed->album, &guessed->genre, &guessed->composer}) {
    out += '\t';
    print(*text, out);
  }
  return out;
}

}  // namespace orvel
