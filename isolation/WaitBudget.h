#pragma once

#include <poll.h>

#include <algorithm>
#include <chrono>

namespace orvel {

/// The time that the library is still willing to wait for a worker, counted from the construction
/// on: a worker gains none by sending something meanwhile. It is spent in short steps, each charged
/// with a few times its length at most: a system that was suspended or frozen stopped the worker as
/// well, which must not be blamed for that time.
class WaitBudget {
 public:
  using Clock = std::chrono::steady_clock;

  explicit WaitBudget(std::chrono::milliseconds time) : total(time), left(time) {}

  [[nodiscard]] bool isSpent() const { return left <= Clock::duration::zero(); }
  [[nodiscard]] Clock::duration used() const { return total - left; }

  /// Waits up to 10 ms for the events in `watched` and fills in `revents`, see poll(2).
  void wait(pollfd* watched, nfds_t count) {
    constexpr std::chrono::milliseconds kWait{10};
    poll(watched, count, static_cast<int>(kWait.count()));
    charge(4 * kWait);
  }

  /// Charges the time since the last charge, all of it unless `most` is less. Call it after work of
  /// the library itself that the worker has asked for.
  void charge(Clock::duration most = Clock::duration::max()) {
    const Clock::time_point now = Clock::now();
    left -= std::min(now - charged, most);
    charged = now;
  }

 private:
  const Clock::duration total;
  Clock::duration left;
  Clock::time_point charged = Clock::now();
};

}  // namespace orvel
