#include "playlists/PlaylistParser.h"

#include <cassert>
#include <exception>
#include <string>
#include <utility>

#include "base/Log.h"
#include "playlists/parsePlaylist.h"

namespace orvel {

namespace {

/// Parses one file, once.
struct Attempt {
  Playlist& playlist;
  TrackPaths paths;
  bool lost = false;  ///< an entry did not fit into memory

  PlaylistVerdict run() {
    playlist.entries.clear();
    return parsePlaylist(playlist.path, [this](const char* uri) { append(uri); });
  }

  void append(const char* uri) {
    try {
      std::string path;
      if (paths.next(uri, path)) playlist.addTrack(std::move(path));
    } catch (const std::exception& error) {
      OV_ERROR("an entry of a playlist was lost: %s", error.what());
      lost = true;
    }
  }
};

PlaylistWrapper::Parse fill(Playlist& playlist, std::size_t mostEntries) {
  using Parse = PlaylistWrapper::Parse;
  try {
    Attempt attempt{playlist, TrackPaths(mostEntries)};
    PlaylistVerdict verdict = attempt.run();
    if (verdict != PlaylistVerdict::Success) {
      // The parser reports a passing read error like a file that is no playlist: try once more.
      attempt.paths = TrackPaths(mostEntries);
      verdict = attempt.run();
    }
    OV_INFO("%s %s", nameOf(verdict), playlist.path.c_str());
    if (attempt.lost) return Parse::Failed;
    if (verdict != PlaylistVerdict::Success) return Parse::Refused;
    return attempt.paths.areCut() ? Parse::Cut : Parse::Done;
  } catch (const std::exception& error) {
    OV_ERROR("a playlist could not be parsed: %s", error.what());
    return Parse::Failed;
  }
}

}  // namespace

void extractPlaylist(PlaylistWrapper* wrapper) {
  assert(wrapper != nullptr && wrapper->playlist != nullptr);
  {
    const MutexLock lock(wrapper->mutex);
    if (wrapper->abandoned) return;
  }
  const PlaylistWrapper::Parse result = fill(*wrapper->playlist, wrapper->mostEntries);
  const MutexLock lock(wrapper->mutex);
  wrapper->parse = result;
  wrapper->cond.broadcast();
}

}  // namespace orvel
