#pragma once

#include <sys/time.h>

namespace orvel {

/// A stopwatch on the wall clock, started by its construction.
class Timer {
 public:
  Timer() : start(now()) {}

  [[nodiscard]] long elapsedMs() const { return milliseconds(start, now()); }

  /// From `begin` to `end` in milliseconds, rounded to the nearest.
  static long milliseconds(const timeval& begin, const timeval& end) {
    const double elapsed = static_cast<double>(end.tv_sec - begin.tv_sec) * 1000.0 +
                           static_cast<double>(end.tv_usec - begin.tv_usec) / 1000.0;
    return static_cast<long>(elapsed + 0.5);  // NOLINT(bugprone-incorrect-roundings)
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
