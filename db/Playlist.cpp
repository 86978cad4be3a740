#include "db/Playlist.h"

namespace orvel {

void Playlist::addTrack(std::string trackPath) {
  const Md5 trackId(Md5Kind::Track, trackPath);
  entries.push_back({std::move(trackPath), trackId, false});
}

std::int64_t Playlist::storedBytes() const {
  // Three identifiers, one of them also in an index, numbers, and the row's own bytes.
  constexpr std::size_t kRestOfRow = 220;
  const std::size_t ofEach = path.size() + name.size() + kRestOfRow;
  std::size_t bytes = (entries.size() + 1) * ofEach;
  for (const PlaylistEntry& entry : entries) bytes += entry.trackPath.size();
  return static_cast<std::int64_t>(bytes);
}

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
