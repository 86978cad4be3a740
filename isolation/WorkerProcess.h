#pragma once

#include <sys/socket.h>

#include <cstddef>
#include <optional>
#include <stop_token>
#include <string>

#include "base/Descriptor.h"
#include "isolation/ChildProcess.h"
#include "isolation/ControlSocket.h"
#include "isolation/ResultPipe.h"
#include "isolation/WaitBudget.h"
#include "isolation/WorkerProtocol.h"

namespace orvel {

/// One worker and the channels to it, whatever it parses; the base of the connections, which know
/// its messages. Used by one thread. A raised token ends every wait.
class WorkerProcess {
 public:
  /// Waits for the greeting. Returns nothing when the process ended, timed out or comes from
  /// another build.
  std::optional<workerProtocol::Confinement> receiveGreeting(WaitBudget budget);

  /// True when the budget ran out while the worker waited for a file's device.
  [[nodiscard]] bool hasStalled() const { return isStalled; }

  /// True when the connection failed because the process ended, and for no fault in its answers.
  [[nodiscard]] bool hasEnded() const { return fault.empty(); }

  /// Ends the process and returns, for the log, how it failed or ended.
  std::string end();

 protected:
  /// Starts the process, which dies with this object and with the calling thread. Throws
  /// std::system_error.
  /// @param carefully  see `workerProtocol::kCarefully`
  WorkerProcess(std::stop_token token, const std::string& program, bool carefully,
                std::size_t mostResultBytes);
  ~WorkerProcess() = default;

  /// Notes that the time for an answer is over.
  void giveUp();
  /// Notes that the worker sent anything else than the result of the current file.
  void rejectResult();

  ControlSocket control;
  ResultPipe results;
  ChildProcess process;
  std::stop_token stopped;
  std::string fault;  ///< the reason to end the worker while it was still running
  bool isStalled = false;

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
  WorkerProcess(std::stop_token token, const std::string& program, bool carefully,
                std::size_t mostResultBytes, Channels channels);

  std::stop_callback<Shutdown> onStop;
};

}  // namespace orvel
