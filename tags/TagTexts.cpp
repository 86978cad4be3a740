#include "tags/TagTexts.h"

#include <taglib/tstring.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "base/Utf8.h"
#include "tags/SongTag.h"
#include "text/TextEncoding.h"
#include "text/trim.h"

namespace orvel {

namespace {

constexpr char kLatin1[] = "ISO-8859-1";
constexpr char kUtf8[] = "UTF-8";

using Setter = void (*)(TrackRecord*, const char*, unsigned, const char*);

void store(TrackRecord& track, Setter set, const TagLib::String& text) {
  if (text.isEmpty()) return;
  if (text.isLatin1()) {
    set(&track, text.toCString(false), text.size(), kLatin1);
  } else {
    const std::string utf8 = text.to8Bit(true);
    set(&track, utf8.c_str(), static_cast<unsigned>(std::strlen(utf8.c_str())), kUtf8);
  }
}

std::string stripped(const TrackText& converted) {
  if (isMetadataEmptyUTF8(converted)) return {};
  return cutForStorage(trim(converted.bytes, converted.length));
}

/// The UTF-8 form of a text without leading and trailing blanks.
std::string withoutBlanks(const TagLib::String& raw) {
  const std::string text = raw.to8Bit(true);
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return cutForStorage(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

/// The UTF-8 form of a text that needs no guess.
std::string trimmed(const TagLib::String& raw) {
  const std::string utf8 = raw.to8Bit(true);
  return cutForStorage(trim(utf8.data(), static_cast<unsigned>(utf8.size())));
}

/// Owns the texts of a record on the stack.
class WorkingTrack {
 public:
  WorkingTrack() { initTrack(&track); }
  ~WorkingTrack() { destroyTrack(&track); }
  WorkingTrack(const WorkingTrack&) = delete;
  WorkingTrack& operator=(const WorkingTrack&) = delete;

  TrackRecord track;
};

struct FreeTrack {
  void operator()(TrackRecord* track) const {
    destroyTrack(track);
    std::free(track);
  }
};

/// The five texts whose encoding is guessed together.
struct RawTexts {
  TagLib::String title;
  TagLib::String artist;
  TagLib::String album;
  TagLib::String genre;
  TagLib::String composer;
};

TagTexts convert(const RawTexts& raw) {
  WorkingTrack working;
  store(working.track, setTrackTitle, raw.title);
  store(working.track, setTrackArtist, raw.artist);
  store(working.track, setTrackAlbum, raw.album);
  store(working.track, setTrackGenre, raw.genre);
  store(working.track, setTrackComposer, raw.composer);
  const std::unique_ptr<TrackRecord, FreeTrack> converted(
      guess_and_convert_by_prio(&working.track, kLatin1));
  if (converted == nullptr) {
    return {withoutBlanks(raw.title), withoutBlanks(raw.artist),   withoutBlanks(raw.album),
            withoutBlanks(raw.genre), withoutBlanks(raw.composer), {}};
  }
  return {stripped(converted->title), stripped(converted->artist),   stripped(converted->album),
          stripped(converted->genre), stripped(converted->composer), {}};
}

bool isAscii(const TagLib::String& text) {
  return std::all_of(text.begin(), text.end(), [](wchar_t unit) { return unit < 0x80; });
}

/// Converts a text of the tag beside the five: its encoding is guessed with them, in the place of
/// the composer, but has no say in theirs.
std::string convertBeside(RawTexts raw, const TagLib::String& text) {
  if (isAscii(text) || !text.isLatin1()) return trimmed(text);
  raw.composer = text;
  return convert(raw).composer;
}

}  // namespace

std::string cutForStorage(std::string text) {
  if (text.size() <= TagValues::kMostCharacters) return text;
  std::string_view rest = text;
  for (std::size_t i = 0; i < TagValues::kMostCharacters && !rest.empty(); ++i) utf8::take(rest);
  if (rest.empty()) return text;
  return trim(text.data(), static_cast<unsigned>(text.size() - rest.size()));
}

TagTexts convertTexts(const TagLib::Tag& tag) {
  const auto* songTag = dynamic_cast<const SongTag*>(&tag);
  RawTexts raw{tag.title(), tag.artist(), tag.album(), tag.genre(), {}};
  if (songTag != nullptr) raw.composer = songTag->composer();
  TagTexts texts = convert(raw);
  if (songTag == nullptr) return texts;
  const TagLib::String albumArtist = songTag->albumArtist();
  if (albumArtist.isEmpty()) return texts;
  texts.albumArtist =
      albumArtist == raw.artist ? texts.artist : convertBeside(std::move(raw), albumArtist);
  return texts;
}

}  // namespace orvel
