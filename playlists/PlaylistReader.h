#pragma once

#include <orvel/ProgressSnapshot.h>
#include <cstddef>
#include <cstdint>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

#include "base/Descriptor.h"
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
    // No further file of this request is read:
    ReaderLost,  ///< the reader cannot be started again
    GivenUp,     ///< too many files ended it
    NotIsolated  ///< isolation is required, but not to be had
  };

  PlaylistReader() = default;
  virtual ~PlaylistReader() = default;
  PlaylistReader(const PlaylistReader&) = delete;
  PlaylistReader& operator=(const PlaylistReader&) = delete;

  /// Fills `playlist` from its file. Keeps its ownership when interrupted.
  /// @param file         the file at the playlist's path, open
  /// @param mostEntries  that are kept of the list
  virtual Outcome read(const Descriptor& file, std::unique_ptr<Playlist>& playlist,
                       std::size_t mostEntries) = 0;

  /// True when the host chose isolation but the library parses in-process.
  [[nodiscard]] virtual bool isolationFailed() const { return false; }
  /// How confined the parser was so far; empty before the first file.
  [[nodiscard]] virtual std::optional<Confinement> confinement() const = 0;
};

/// Makes a reader whose work ends early when the token is raised.
using PlaylistReaderFactory = std::function<std::unique_ptr<PlaylistReader>(std::stop_token token)>;

}  // namespace orvel
