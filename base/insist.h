#pragma once

#include <chrono>
#include <new>
#include <thread>

#include "base/StageThread.h"

namespace orvel {

/// Runs `work`, which may be repeated, again while memory is too short for it: for a second, or
/// until the stage that the thread carries is stopped. Then std::bad_alloc passes. For the small
/// allocations without which a request could never come to its end.
template <class Work>
auto insist(Work work) -> decltype(work()) {
  constexpr int kAttempts = 100;
  constexpr std::chrono::milliseconds kPause{10};
  for (int attempt = 1;; ++attempt) {
    try {
      return work();
    } catch (const std::bad_alloc&) {
      if (attempt == kAttempts || stageThread::stopToken().stop_requested()) throw;
    }
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace orvel
