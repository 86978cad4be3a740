#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>

#include "db/Playlist.h"

namespace orvel {

/// Fills playlists from their files, one after the other. Implementations choose where a file is
/// parsed. Used by one thread.
class PlaylistReader {
 public:
  enum class Outcome : std::uint8_t {
    Done,
    Cut,          ///< done, but the list has more entries than are kept
    Refused,      ///< the file is no playlist, cannot be read, or fails the parser
    Stalled,      ///< the device did not deliver the file in time
    Failed,       ///< memory was too short for the entries
    Interrupted,  ///< a stop came first; the playlist may be lost
    ReaderLost    ///< no further file can be read in this request
  };

  PlaylistReader() = default;
  virtual ~PlaylistReader() = default;
  PlaylistReader(const PlaylistReader&) = delete;
  PlaylistReader& operator=(const PlaylistReader&) = delete;

  /// Fills `playlist` from the file at its path. Keeps its ownership when interrupted.
  /// @param mostEntries  that are kept of the list
  virtual Outcome read(std::unique_ptr<Playlist>& playlist, std::size_t mostEntries) = 0;

  /// True when the host chose isolation but the library parses in-process.
  [[nodiscard]] virtual bool isolationFailed() const { return false; }
};

/// Makes a reader whose work ends early when the token is raised.
using PlaylistReaderFactory = std::function<std::unique_ptr<PlaylistReader>(std::stop_token token)>;

}  // namespace orvel
