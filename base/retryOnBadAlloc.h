#pragma once

#include <chrono>
#include <new>
#include <thread>

#include "base/StageThread.h"

namespace orvel {

/// Attempts that span about a second: for the small allocations that the end of a request needs.
constexpr int kManyAttempts = 100;
/// Attempts for work whose size a device decides, which may be too large for any memory.
constexpr int kOneRetry = 2;

/// Runs `work` again when it throws std::bad_alloc: at once, then every 10 ms, up to `attempts`
/// times in all or until the current thread's stage is stopped. `work` must be repeatable.
///
/// Survives a transient shortage of memory; a request that is simply too large throws again.
template <class Work>
auto retryOnBadAlloc(Work work, int attempts = kManyAttempts) -> decltype(work()) {
  constexpr std::chrono::milliseconds kPause{10};
  for (int attempt = 1;; ++attempt) {
    if (attempt > 2) std::this_thread::sleep_for(kPause);
    try {
      return work();
    } catch (const std::bad_alloc&) {
      const bool stopped = attempt > 1 && stageThread::stopToken().stop_requested();
      if (attempt == attempts || stopped) throw;
    }
  }
}

}  // namespace orvel
