#pragma once

#include <poll.h>

#include <algorithm>
#include <chrono>

namespace orvel {

/// How long the reader is still waited for. Spent in short waits, each of which costs a few of them
/// at most: while the whole system stands still, suspended or frozen, the reader does, too, and
/// must not be blamed.
class Patience {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Patience(std::chrono::milliseconds time) : left(time) {}

  [[nodiscard]] bool isOver() const { return left <= Clock::duration::zero(); }

  /// Waits a short while for what the entries watch for; `revents` tell.
  void wait(pollfd* watched, nfds_t count) {
    constexpr std::chrono::milliseconds kWait{10};
    const Clock::time_point begin = Clock::now();
    poll(watched, count, static_cast<int>(kWait.count()));
    left -= std::min<Clock::duration>(Clock::now() - begin, 4 * kWait);
  }

  /// Takes off what something else has cost.
  void spend(Clock::duration time) { left -= time; }

 private:
  Clock::duration left;
};

}  // namespace orvel
