#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/Md5.h"
#include "db/Directory.h"
#include "db/SqlStream.h"

namespace orvel {

/// One track of a playlist.
struct PlaylistEntry {
  std::string trackPath;
  Md5 trackId;
  bool pathIsId = false;  ///< on MTP devices, the track path itself is the identifier
};

/// One playlist with its entries: the values of its PLAYLISTS rows.
struct Playlist {
  Playlist(std::string playlistPath, const std::string& mountPoint, std::int32_t modified)
      : path(std::move(playlistPath)),
        name(lastComponent(path)),
        id(Md5Kind::Playlist, path),
        partitionId(Md5Kind::Directory, mountPoint),
        lastModified(modified) {}

  std::string path;
  std::string name;
  Md5 id;
  Md5 partitionId;
  std::int32_t lastModified;  ///< seconds since the epoch
  std::vector<PlaylistEntry> entries;
  bool refused = false;  ///< unreadable, or no playlist: there is nothing to store

  /// Appends the song at `trackPath`.
  void addTrack(std::string trackPath);

  /// About the bytes that the entries take in the database, rather too many than too few.
  [[nodiscard]] std::int64_t storedBytes() const;
};

/// Binds each entry of the playlist to the prepared insert and runs it.
sqlstl::basic_sqlostream<char>& operator<<(sqlstl::basic_sqlostream<char>& out,
                                           const Playlist* playlist);

}  // namespace orvel
