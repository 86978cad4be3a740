#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "base/Descriptor.h"
#include "isolation/WaitBudget.h"
#include "isolation/WorkerProcess.h"
#include "playlists/PlaylistMessages.h"

namespace orvel {

/// One worker, the process `orvel-playlist-reader`, and the channels to it. Checks everything that
/// the worker sends, since a list may have taken it over.
class PlaylistConnection : public WorkerProcess {
 public:
  /// Starts the process, which dies with the connection and with the calling thread. Throws
  /// std::system_error.
  /// @param carefully  see `workerProtocol::kCarefully`
  PlaylistConnection(std::stop_token token, const std::string& program, bool carefully);

  /// Sends a list without waiting; returns false when it can never be sent.
  /// @param file  empty when the list cannot be opened
  [[nodiscard]] bool send(const playlistMessages::Request& request, const Descriptor& file) const;

  /// Waits for the list that was sent last. Returns nothing when the worker ended, sent anything
  /// else, or the budget is spent; `end` tells the reason then.
  /// @param onPath  receives the track paths as they come, no more than the request asked for
  std::optional<playlistMessages::End> receive(
      const playlistMessages::Request& request, WaitBudget& budget,
      const std::function<void(std::string_view path)>& onPath);

  /// True once a list came to its end.
  [[nodiscard]] bool hasAnswered() const { return answered; }

 private:
  bool wait(WaitBudget& budget);

  bool answered = false;
};

}  // namespace orvel
