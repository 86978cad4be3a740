#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include <orvel/Settings.h>

#include "base/Descriptor.h"
#include "isolation/WorkerStarter.h"
#include "playlists/MainLoopPlaylistReader.h"
#include "playlists/PlaylistReader.h"
#include "playlists/isolation/PlaylistConnection.h"

namespace orvel {

/// Parses lists in a worker, a process that may do nothing else (`orvel-playlist-reader`): a list
/// that makes the parser crash, hang or bloat loses only its own entries. The host's main loop is
/// not used. Opens the files itself.
///
/// The rules are those of isolated tag reading. A list that ends a fresh worker, or takes too long,
/// is refused; one that ends a worker which has answered before gets a fresh one. When the first
/// worker cannot be started, lists are parsed on the main loop, unless isolation is required; when
/// a later one cannot, the rest is left undone, and so it is after 64 lists that were to blame.
class IsolatedPlaylistReader : public PlaylistReader {
 public:
  static constexpr std::chrono::milliseconds kTimeLimit{5000};

  /// @param program    absolute path of the worker's program
  /// @param policy     `Isolated` or `IsolationRequired`
  /// @param timeLimit  for one list
  IsolatedPlaylistReader(std::stop_token token, std::string program,
                         TagReading policy = TagReading::Isolated,
                         std::chrono::milliseconds timeLimit = kTimeLimit);

  Outcome read(const Descriptor& file, std::unique_ptr<Playlist>& playlist,
               std::size_t mostEntries) override;
  [[nodiscard]] bool isolationFailed() const override { return inProcess.has_value(); }
  [[nodiscard]] std::optional<Confinement> confinement() const override;

 private:
  Outcome parse(Playlist& playlist, const Descriptor& file, std::size_t mostEntries);
  static Outcome settle(const Playlist& playlist, playlistMessages::End end);
  bool ensureRunning();
  void workerStarted();
  void startFailed();
  Outcome blame(Playlist& playlist);

  const std::stop_token stopped;
  const TagReading policy;
  const std::chrono::milliseconds timeLimit;

  WorkerStarter starter;
  std::optional<PlaylistConnection> worker;
  bool wasStarted = false;                          ///< a worker has been up
  std::optional<MainLoopPlaylistReader> inProcess;  ///< when no worker could be started at all
  std::uint32_t lastId = 0;
  int faults = 0;  ///< lists that were to blame
};

}  // namespace orvel
