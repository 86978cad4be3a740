#pragma once

#include <new>

namespace orvel {

/// Runs `work`, which may be repeated, a second time when memory was too short for it: what met a
/// shortage gets by then, what asks for too much fails again and throws std::bad_alloc.
template <class Work>
auto retryOnce(Work work) -> decltype(work()) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return work();
  }
}

}  // namespace orvel
