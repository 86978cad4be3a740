#pragma once

#include <sys/time.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace orvel {

/// A stopwatch on the wall clock, started by its construction.
class Timer {
 public:
  Timer() : start(now()) {}

  [[nodiscard]] long elapsedMs() const { return milliseconds(start, now()); }

  /// From `begin` to `end` in milliseconds, rounded to the nearest. A clock that is set meanwhile
  /// jumps by years: the result is held to 32 bits, all that a `long` may have.
  static long milliseconds(const timeval& begin, const timeval& end) {
    const double elapsed = static_cast<double>(end.tv_sec - begin.tv_sec) * 1000.0 +
                           static_cast<double>(end.tv_usec - begin.tv_usec) / 1000.0;
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    return std::lround(std::clamp<double>(elapsed, -kMost, kMost));
  }

  static timeval now() {
    timeval time{};
    gettimeofday(&time, nullptr);
    return time;
  }

 private:
  timeval start;
};

}  // namespace orvel
