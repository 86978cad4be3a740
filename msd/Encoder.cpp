#include "msd/Encoder.h"

#include <taglib/tstring.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "db/MetaDataInfo.h"
#include "msd/SongTag.h"
#include "platform/common/StrippedValue.h"
#include "platform/common/trim.h"
#include "platform/text/TextEncoding.h"

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

StrippedValue stripped(const TrackText& converted) {
  if (isMetadataEmptyUTF8(converted)) return {};
  return StrippedValue(trim(converted.bytes, converted.length));
}

/// The UTF-8 form of a text without the blanks around it.
std::string withoutBlanks(const TagLib::String& raw) {
  const std::string text = raw.to8Bit(true);
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// The working record on the stack.
class WorkingTrack {
 public:
  WorkingTrack() { initTrack(&track); }
  ~WorkingTrack() { destroyTrack(&track); }
  WorkingTrack(const WorkingTrack&) = delete;
  WorkingTrack& operator=(const WorkingTrack&) = delete;

  TrackRecord track;
};

/// The file's own sort forms, cleaned; null when it gives none.
std::unique_ptr<const std::array<std::string, 5>> sortFormsOf(const SongTag& tag) {
  const SongTag::SortTexts& texts = tag.sortTexts();
  if (std::all_of(texts.begin(), texts.end(), [](const auto& text) { return text.isEmpty(); })) {
    return nullptr;
  }
  auto forms = std::make_unique<std::array<std::string, 5>>();
  std::transform(texts.begin(), texts.end(), forms->begin(), [](const TagLib::String& text) {
    const std::string utf8 = text.to8Bit(true);
    return trim(utf8.data(), static_cast<unsigned>(utf8.size()));
  });
  return forms;
}

struct FreeTrack {
  void operator()(TrackRecord* track) const {
    destroyTrack(track);
    std::free(track);
  }
};

}  // namespace

Encoder& Encoder::instance() {
  static Encoder encoder;
  return encoder;
}

MetaDataInfo* Encoder::guessAndConvert(const std::string& path, const std::string& mountPoint,
                                       long lastModified, const TagLib::Tag* tag) const {
  const auto* songTag = dynamic_cast<const SongTag*>(tag);
  const TagLib::String title = tag->title();
  const TagLib::String album = tag->album();
  const TagLib::String artist = tag->artist();
  const TagLib::String composer = songTag != nullptr ? songTag->composer() : TagLib::String();
  const TagLib::String genre = tag->genre();
  const int trackNumber = static_cast<int>(std::min<unsigned>(tag->track(), INT_MAX));
  const int discNumber = songTag != nullptr ? songTag->disc() : 0;

  WorkingTrack working;
  store(working.track, setTrackTitle, title);
  store(working.track, setTrackAlbum, album);
  store(working.track, setTrackArtist, artist);
  store(working.track, setTrackComposer, composer);
  store(working.track, setTrackGenre, genre);
  const std::unique_ptr<TrackRecord, FreeTrack> converted(
      guess_and_convert_by_prio(&working.track, kLatin1));
  std::unique_ptr<MetaDataInfo> song;
  if (converted == nullptr) {
    song = std::make_unique<MetaDataInfo>(
        path, mountPoint, withoutBlanks(title), withoutBlanks(artist), withoutBlanks(album),
        withoutBlanks(genre), withoutBlanks(composer), trackNumber, discNumber, lastModified);
  } else {
    song = std::make_unique<MetaDataInfo>(path, mountPoint, stripped(converted->title),
                                          stripped(converted->artist), stripped(converted->album),
                                          stripped(converted->genre), stripped(converted->composer),
                                          trackNumber, discNumber, lastModified);
  }
  if (songTag != nullptr) song->sortForms = sortFormsOf(*songTag);
  return song.release();
}

}  // namespace orvel
