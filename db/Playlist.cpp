#include "db/Playlist.h"

namespace orvel {

sqlstl::basic_sqlostream<char>& operator<<(sqlstl::basic_sqlostream<char>& out,
                                           const Playlist* playlist) {
  constexpr int kAudioType = 1;
  for (const PlaylistEntry& entry : playlist->entries) {
    out << playlist->partitionId.text() << playlist->path << playlist->id.text() << playlist->name
        << entry.trackPath << (entry.pathIsId ? entry.trackPath : entry.trackId.text())
        << kAudioType << static_cast<long>(playlist->lastModified) << sqlstl::step;
  }
  return out;
}

}  // namespace orvel
