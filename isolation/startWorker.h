#pragma once

#include <chrono>
#include <optional>
#include <stop_token>
#include <string>
#include <system_error>

#include "isolation/WaitBudget.h"
#include "isolation/WorkerProtocol.h"

namespace orvel {

/// Starts a worker and waits for its greeting. On failure `worker` holds no usable process, and
/// `reason` tells why.
/// @param meanwhile  runs while the worker starts
template <class Connection, class Action>
std::optional<workerProtocol::Confinement> startWorker(std::optional<Connection>& worker,
                                                       const std::stop_token& stopped,
                                                       const std::string& program, Action meanwhile,
                                                       std::string& reason) {
  constexpr std::chrono::milliseconds kStartLimit{5000};
  try {
    worker.emplace(stopped, program);
    meanwhile();
    if (const auto confinement = worker->receiveGreeting(WaitBudget(kStartLimit))) {
      return confinement;
    }
    reason = worker->end();
  } catch (const std::system_error& error) {
    reason = error.what();
  }
  return std::nullopt;
}

}  // namespace orvel
