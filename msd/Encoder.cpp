#include "msd/Encoder.h"

#include <taglib/tstring.h>

#include <algorithm>
#include <array>
#include <climits>
#include <memory>

#include "db/MetaDataInfo.h"
#include "tags/SongTag.h"
#include "tags/TagTexts.h"
#include "text/StrippedValue.h"
#include "text/trim.h"

namespace orvel {

namespace {

/// Returns the trimmed sort forms of the file; null if it has none.
std::unique_ptr<const std::array<std::string, 5>> sortFormsOf(const SongTag& tag) {
  const TagValues::SortTexts& texts = tag.sortTexts();
  if (std::all_of(texts.begin(), texts.end(), [](const auto& text) { return text.isEmpty(); })) {
    return nullptr;
  }
  auto forms = std::make_unique<std::array<std::string, 5>>();
  std::transform(texts.begin(), texts.end(), forms->begin(), [](const TagLib::String& text) {
    const std::string utf8 = text.to8Bit(true);
    return cutForStorage(trim(utf8.data(), static_cast<unsigned>(utf8.size())));
  });
  return forms;
}

}  // namespace

Encoder& Encoder::instance() {
  static Encoder encoder;
  return encoder;
}

MetaDataInfo* Encoder::guessAndConvert(const std::string& path, const std::string& mountPoint,
                                       long lastModified, const TagLib::Tag* tag) const {
  const auto* songTag = dynamic_cast<const SongTag*>(tag);
  const int trackNumber = static_cast<int>(std::min<unsigned>(tag->track(), INT_MAX));
  const int discNumber = songTag != nullptr ? songTag->disc() : 0;
  const TagTexts texts = convertTexts(*tag);
  auto song = std::make_unique<MetaDataInfo>(
      path, mountPoint, StrippedValue(texts.title), StrippedValue(texts.artist),
      StrippedValue(texts.album), StrippedValue(texts.genre), StrippedValue(texts.composer),
      trackNumber, discNumber, lastModified);
  if (songTag != nullptr) {
    song->sortForms = sortFormsOf(*songTag);
    song->details = {songTag->milliseconds(), songTag->yearOfRelease(), texts.albumArtist,
                     songTag->hasPicture() ? CoverPlace::Embedded : CoverPlace::None};
  }
  return song.release();
}

}  // namespace orvel
