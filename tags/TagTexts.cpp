#include "tags/TagTexts.h"

#include <taglib/tstring.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

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
  const TagLib::String title = tag.title();
  const TagLib::String artist = tag.artist();
  const TagLib::String album = tag.album();
  const TagLib::String genre = tag.genre();
  const TagLib::String composer = songTag != nullptr ? songTag->composer() : TagLib::String();

  WorkingTrack working;
  store(working.track, setTrackTitle, title);
  store(working.track, setTrackArtist, artist);
  store(working.track, setTrackAlbum, album);
  store(working.track, setTrackGenre, genre);
  store(working.track, setTrackComposer, composer);
  const std::unique_ptr<TrackRecord, FreeTrack> converted(
      guess_and_convert_by_prio(&working.track, kLatin1));
  if (converted == nullptr) {
    return {withoutBlanks(title), withoutBlanks(artist), withoutBlanks(album), withoutBlanks(genre),
            withoutBlanks(composer)};
  }
  return {stripped(converted->title), stripped(converted->artist), stripped(converted->album),
          stripped(converted->genre), stripped(converted->composer)};
}

}  // namespace orvel
