#pragma once

#include <memory>

#include "base/Mutex.h"
#include "db/Playlist.h"

namespace orvel {

/// Where the stage that mines playlists and the main loop that parses them meet. Shared by both, so
/// that a parse which the stage no longer waits for touches nothing that is gone.
struct PlaylistWrapper {
  Mutex mutex;
  Condition cond;                ///< announces that the parse has ended
  Playlist* playlist = nullptr;  ///< the playlist being filled; owned by `owner`

  enum class Parse {
    Pending,
    Done,
    Refused,  ///< the file is no playlist, or cannot be read
    Failed,   ///< memory was too short for the entries
  };

  std::unique_ptr<Playlist> owner ORVEL_GUARDED_BY(mutex);
  Parse parse ORVEL_GUARDED_BY(mutex) = Parse::Pending;
  bool abandoned ORVEL_GUARDED_BY(mutex) = false;  ///< nobody waits for the parse any more
};

}  // namespace orvel
