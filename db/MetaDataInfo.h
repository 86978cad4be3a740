#pragma once

#include <array>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>

#include "base/Md5.h"
#include "db/SongDetails.h"
#include "text/StrippedValue.h"

namespace orvel {

/// The five Asian (reading or sort) forms of a song, in the order title, artist, album, genre,
/// composer; each text is allocated with the C allocator.
class AsianFields {
 public:
  /// Copies the five texts; throws std::bad_alloc.
  explicit AsianFields(const std::array<std::string, 5>& texts);

  [[nodiscard]] const char* operator[](std::size_t field) const { return fields[field].get(); }

 private:
  struct Free {
    void operator()(char* text) const { std::free(text); }
  };
  std::array<std::unique_ptr<char, Free>, 5> fields;
};

/// One song: its tags and the identifiers of the rows that it refers to. Neighbouring songs with
/// equal identifiers share one text; the song saver recognises duplicates by its address.
struct MetaDataInfo {
  /// A song with tags, whose object identifier is derived from its path.
  MetaDataInfo(const std::string& songPath, const std::string& mountPointPath,
               const StrippedValue& songTitle, const StrippedValue& songArtist,
               const StrippedValue& songAlbum, const StrippedValue& songGenre,
               const StrippedValue& songComposer, int track, int disc, long modified);

  /// A song from plain texts, in the order title, artist, album, genre, composer.
  MetaDataInfo(const std::string& songPath, const std::string& mountPointPath,
               const std::string& songTitle, const std::string& songArtist,
               const std::string& songAlbum, const std::string& songGenre,
               const std::string& songComposer, int track, int disc, long modified);

  /// The same for an MTP track, which `deviceObjectId` identifies on its device.
  MetaDataInfo(const std::string& songPath, const std::string& mountPointPath,
               const std::string& songTitle, const std::string& songArtist,
               const std::string& songAlbum, const std::string& songGenre,
               const std::string& songComposer, int track, int disc, long modified,
               const std::string& deviceObjectId);

  MetaDataInfo(const MetaDataInfo&) = delete;
  MetaDataInfo& operator=(const MetaDataInfo&) = delete;

  /// Fills `asianFields` from the five texts, or from `sortForms` where these are better. Leaves it
  /// null when no text has Asian script.
  void setAsianFields();

  /// The OBJECTID of the song's row: `objectId`, or `titleId` when that is empty.
  [[nodiscard]] const std::string& storedObjectId() const {
    return objectId.empty() ? titleId.text() : objectId;
  }

  /// About the bytes that the song takes in the database, rather too many than too few.
  [[nodiscard]] std::size_t storedBytes() const;

  std::string path;
  std::string mountPoint;
  std::string name;
  std::string title;
  std::string artist;
  std::string album;
  std::string genre;
  std::string composer;
  int trackNumber;
  int discNumber;
  long lastModified;  ///< seconds since the epoch
  Md5 titleId;        ///< of the path, since titles repeat and playlists refer to paths
  Md5 artistId;
  Md5 albumId;
  Md5 genreId;
  Md5 composerId;
  Md5 directoryId;
  Md5 partitionId;
  int audioType = 1;
  std::string objectId;
  std::unique_ptr<AsianFields> asianFields;
  /// The sort forms in the file's tag, in the order title, artist, album, genre, composer; null
  /// when it has none. Set them before `setAsianFields`.
  std::unique_ptr<const std::array<std::string, 5>> sortForms;
  SongDetails details;
};

}  // namespace orvel
