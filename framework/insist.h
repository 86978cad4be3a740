#pragma once

#include <time.h>

#include <new>

#include "platform/common/StageThread.h"

namespace orvel {

/// Runs `work`, which may be repeated, again while memory is too short for it: for a second, or
/// until the stage that the thread carries is stopped. Then std::bad_alloc passes. For the small
/// allocations without which a request could never come to its end.
template <class Work>
auto insist(Work work) -> decltype(work()) {
  constexpr int kAttempts = 100;
  constexpr timespec kPause{0, 10'000'000};
  for (int attempt = 1;; ++attempt) {
    try {
      return work();
    } catch (const std::bad_alloc&) {
      if (attempt == kAttempts || stageThread::stopToken().stop_requested()) throw;
    }
    nanosleep(&kPause, nullptr);
  }
}

}  // namespace orvel
