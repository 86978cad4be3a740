#pragma once

#include <memory>

#include "base/Mutex.h"
#include "db/Playlist.h"

namespace orvel {

/// Hands one playlist at a time from the stage that mines playlists to the main loop that parses
/// them. Both share ownership, so that a parse may outlive the stage's wait.
struct PlaylistWrapper {
  Mutex mutex;
  Condition cond;                ///< broadcast when the parse ends
  Playlist* playlist = nullptr;  ///< filled by the parse; owned by `owner`
  std::size_t mostEntries = 0;   ///< that the parse keeps; set before it is scheduled

  enum class Parse {
    Pending,
    Done,
    Cut,      ///< done, but the list has more than `mostEntries`
    Refused,  ///< the file is no playlist or cannot be read
    Failed,   ///< memory was too short for the entries
  };

  std::unique_ptr<Playlist> owner ORVEL_GUARDED_BY(mutex);
  Parse parse ORVEL_GUARDED_BY(mutex) = Parse::Pending;
  bool abandoned ORVEL_GUARDED_BY(mutex) = false;  ///< the stage no longer waits
};

}  // namespace orvel
