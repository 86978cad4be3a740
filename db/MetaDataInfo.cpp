#include "db/MetaDataInfo.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

#include "db/Directory.h"
#include "text/AsianForms.h"

namespace orvel {

AsianFields::AsianFields(const std::array<std::string, 5>& texts) {
  for (std::size_t i = 0; i < texts.size(); ++i) {
    fields[i].reset(strdup(texts[i].c_str()));
    if (!fields[i]) throw std::bad_alloc();
  }
}

MetaDataInfo::MetaDataInfo(const std::string& songPath, const std::string& mountPointPath,
                           const StrippedValue& songTitle, const StrippedValue& songArtist,
                           const StrippedValue& songAlbum, const StrippedValue& songGenre,
                           const StrippedValue& songComposer, int track, int disc, long modified)
    : MetaDataInfo(songPath, mountPointPath, songTitle.text(), songArtist.text(), songAlbum.text(),
                   songGenre.text(), songComposer.text(), track, disc, modified) {}

MetaDataInfo::MetaDataInfo(const std::string& songPath, const std::string& mountPointPath,
                           const std::string& songTitle, const std::string& songArtist,
                           const std::string& songAlbum, const std::string& songGenre,
                           const std::string& songComposer, int track, int disc, long modified)
    : MetaDataInfo(songPath, mountPointPath, songTitle, songArtist, songAlbum, songGenre,
                   songComposer, track, disc, modified, std::string()) {}

MetaDataInfo::MetaDataInfo(const std::string& songPath, const std::string& mountPointPath,
                           const std::string& songTitle, const std::string& songArtist,
                           const std::string& songAlbum, const std::string& songGenre,
                           const std::string& songComposer, int track, int disc, long modified,
                           const std::string& deviceObjectId)
    : path(songPath),
      mountPoint(mountPointPath),
      name(lastComponent(songPath)),
      title(songTitle),
      artist(songArtist),
      album(songAlbum),
      genre(songGenre),
      composer(songComposer),
      trackNumber(track),
      discNumber(disc),
      lastModified(modified),
      titleId(Md5Kind::Track, songPath),
      artistId(Md5Kind::Artist, songArtist),
      albumId(Md5Kind::Album, songAlbum),
      genreId(Md5Kind::Genre, songGenre),
      composerId(Md5Kind::Composer, songComposer),
      directoryId(Md5Kind::Directory, parentPath(songPath)),
      partitionId(Md5Kind::Directory, mountPointPath),
      objectId(deviceObjectId) {}

std::size_t MetaDataInfo::storedBytes() const {
  constexpr std::size_t kRestOfRows = 900;  // identifiers, numbers and keys, also in indexes
  const std::size_t texts = title.size() + artist.size() + album.size() + genre.size() +
                            composer.size() + details.albumArtist.size();
  // The path is also a key, and each text may have a form that sorts.
  return 2 * path.size() + name.size() + 2 * texts + kRestOfRows;
}

void MetaDataInfo::setAsianFields() {
  std::array<std::string_view, 5> own;
  if (sortForms != nullptr) std::copy(sortForms->begin(), sortForms->end(), own.begin());
  const auto forms = asianForms({title, artist, album, genre, composer}, own);
  asianFields = forms ? std::make_unique<AsianFields>(*forms) : nullptr;
}

}  // namespace orvel
