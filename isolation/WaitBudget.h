#pragma once

#include <poll.h>

#include <algorithm>
#include <chrono>

namespace orvel {

/// The time that the library is still willing to wait for a worker. It is spent in short waits,
/// each charged with a few times its length at most: a system that was suspended or frozen stopped
/// the worker as well, which must not be blamed for that time.
class WaitBudget {
 public:
  using Clock = std::chrono::steady_clock;

  explicit WaitBudget(std::chrono::milliseconds time) : left(time) {}

  [[nodiscard]] bool isSpent() const { return left <= Clock::duration::zero(); }

  /// Waits up to 10 ms for the events in `watched` and fills in `revents`, see poll(2).
  void wait(pollfd* watched, nfds_t count) {
    constexpr std::chrono::milliseconds kWait{10};
    const Clock::time_point begin = Clock::now();
    poll(watched, count, static_cast<int>(kWait.count()));
    left -= std::min<Clock::duration>(Clock::now() - begin, 4 * kWait);
  }

  /// Charges time that passed outside `wait`.
  void charge(Clock::duration time) { left -= time; }

 private:
  Clock::duration left;
};

}  // namespace orvel
