#pragma once

#include <memory>

#include "db/Playlist.h"
#include "platform/common/Mutex.h"

namespace orvel {

/// Where the stage that mines playlists and the main loop that parses them meet. Shared by both, so
/// that a parse which the stage no longer waits for touches nothing that is gone.
struct PlaylistWrapper {
  Mutex mutex;
  Condition cond;                ///< announces that the parse has ended
  Playlist* playlist = nullptr;  ///< the playlist being filled; owned by `owner`

  std::unique_ptr<Playlist> owner ORVEL_GUARDED_BY(mutex);
  bool parsed ORVEL_GUARDED_BY(mutex) = false;
  bool abandoned ORVEL_GUARDED_BY(mutex) = false;  ///< nobody waits for the parse any more
};

}  // namespace orvel
