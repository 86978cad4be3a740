#pragma once

#include <orvel/ProgressSnapshot.h>

#include <chrono>
#include <optional>
#include <stop_token>
#include <string>
#include <system_error>
#include <utility>

#include "base/Probes.h"
#include "isolation/WaitBudget.h"
#include "isolation/WorkerProtocol.h"

namespace orvel {

/// Starts the workers of one reader, one after the other. Used by one thread.
class WorkerStarter {
 public:
  /// @param workerProgram    absolute path
  /// @param everyLayer  a worker without a layer of confinement that the kernel offers counts as
  ///                    one that does not start
  WorkerStarter(std::stop_token token, std::string workerProgram, bool everyLayer)
      : stopped(std::move(token)), program(std::move(workerProgram)), needsEveryLayer(everyLayer) {}

  /// Starts a worker and waits for its greeting. On failure returns false, and `worker` is empty;
  /// `failure` tells the reason.
  /// @param meanwhile  runs while a process starts
  /// @param more       further arguments of the connection's constructor
  template <class Connection, class Action, class... More>
  bool start(std::optional<Connection>& worker, Action meanwhile, const More&... more) {
    bool isUp = tryOnce(worker, meanwhile, more...);
    if (!isUp && hasEnded && !carefully && !stopped.stop_requested()) {
      carefully = true;  // a filter of the host's own may have ended it, even if nobody can tell
      isUp = tryOnce(worker, meanwhile, more...);
    }
    if (isUp) probes::readerStarts(program.c_str(), ++started);
    return isUp;
  }

  [[nodiscard]] const std::string& path() const { return program; }
  /// Why the last start failed.
  [[nodiscard]] const std::string& failure() const { return reason; }
  /// How confined the last worker was.
  [[nodiscard]] Confinement confinement() const;
  /// The layers that it lacked, with the reasons.
  [[nodiscard]] std::string missingLayers() const;

 private:
  template <class Connection, class Action, class... More>
  bool tryOnce(std::optional<Connection>& worker, Action meanwhile, const More&... more) {
    constexpr std::chrono::milliseconds kLimit{5000};
    hasEnded = false;
    try {
      worker.emplace(stopped, program, carefully, more...);
      meanwhile();
      const auto greeting = worker->receiveGreeting(WaitBudget(kLimit));
      layers = greeting.value_or(workerProtocol::Confinement{});
      if (greeting && suffices()) return true;
      reason = greeting ? "less isolation than required: " + missingLayers() : worker->end();
      hasEnded = !greeting && worker->hasEnded();
    } catch (const std::system_error& error) {
      reason = error.what();
    }
    worker.reset();
    return false;
  }
  [[nodiscard]] bool suffices() const;

  const std::stop_token stopped;
  const std::string program;
  const bool needsEveryLayer;
  bool carefully = false;
  int started = 0;
  bool hasEnded = false;  ///< the last process ended before its greeting
  std::string reason;
  workerProtocol::Confinement layers;
};

}  // namespace orvel
