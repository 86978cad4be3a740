#pragma once

#include <sys/socket.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "base/Descriptor.h"
#include "isolation/ChildProcess.h"
#include "isolation/ControlSocket.h"
#include "isolation/ResultPipe.h"
#include "isolation/WaitBudget.h"
#include "tags/TagMessages.h"
#include "tags/TagStream.h"

namespace orvel {

/// One worker, the process `orvel-tag-reader`, and the channels to it:
///
///     library                          worker
///     ControlSocket  -- requests ----> receives files, parses them in this order
///                    <- greeting, word of each request done, questions about bytes --
///     ResultPipe     <- results ------ one for each file
///
/// Checks everything that the worker sends, since a file may have taken it over. Used by one
/// thread. A raised token ends every wait.
class WorkerConnection {
 public:
  /// Starts the process, which dies with the connection and with the calling thread. Throws
  /// std::system_error.
  /// @param carefully  see `workerProtocol::kCarefully`
  WorkerConnection(std::stop_token token, const std::string& program, bool carefully);

  enum class Sent : std::uint8_t {
    Yes,
    Later,  ///< the worker has enough to do; try again after its next result
    Never
  };

  /// Sends at most `tagMessages::kMostFiles` files, without waiting.
  /// @param descriptors  of the files in the same order, except those with `isAskedFor`; they stay
  ///                     the caller's
  [[nodiscard]] Sent send(const std::vector<tagMessages::FileRequest>& files,
                          std::span<const int> descriptors) const;

  /// Waits for the greeting. Returns nothing when the process ended, timed out or comes from
  /// another build.
  std::optional<workerProtocol::Confinement> receiveGreeting(WaitBudget budget);

  /// Waits for the result of the file with this id, which must be the oldest one sent and
  /// unanswered. Returns nothing when the worker ended, sent anything else, or the budget is spent;
  /// `end` tells the reason then.
  /// @param source  serves the worker's questions about bytes meanwhile; null for a file that was
  ///                sent with its descriptor
  std::optional<tagMessages::Result> receive(std::uint32_t file, WaitBudget& budget,
                                             TagStream* source = nullptr);

  /// True once a result has arrived.
  [[nodiscard]] bool hasAnswered() const { return answered; }

  /// True when the budget ran out while the worker waited for a file's device.
  [[nodiscard]] bool hasStalled() const { return isStalled; }

  /// True when the connection failed because the process ended, and for no fault in its answers.
  [[nodiscard]] bool hasEnded() const { return fault.empty(); }

  /// Ends the process and returns, for the log, how it failed or ended.
  std::string end();

 private:
  struct Channels {
    Channels();
    Descriptor control;
    Descriptor results;
    Descriptor workersControl;
    Descriptor workersResults;
  };
  struct Shutdown {
    int socket;
    void operator()() const noexcept { shutdown(socket, SHUT_RDWR); }
  };
  /// What the worker may still ask for while it reads one file: more than a reader that keeps its
  /// own budgets needs.
  struct Inquiry {
    TagStream* source;
    std::int64_t bytesLeft = 40LL << 20;
    int questionsLeft = 20000;
  };
  WorkerConnection(std::stop_token token, const std::string& program, bool carefully,
                   Channels channels);

  std::optional<tagMessages::Result> decode(std::string_view text, std::uint32_t file);
  bool wait(WaitBudget& budget, Inquiry& inquiry);
  void hear(WaitBudget& budget, Inquiry& inquiry);
  void answer(const tagMessages::ByteRange& range, TagStream& source);

  ControlSocket control;
  ResultPipe results;
  ChildProcess process;
  std::stop_token stopped;
  std::stop_callback<Shutdown> onStop;
  bool answered = false;
  Descriptor answers;  ///< the file in memory with the last answer; empty before the first
  std::string fault;   ///< the reason to end the worker while it was still running
  bool isStalled = false;
  bool isControlOpen = true;
};

}  // namespace orvel
