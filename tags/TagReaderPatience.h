#pragma once

#include <algorithm>
#include <chrono>

#include "isolation/WaitBudget.h"

namespace orvel {

/// The time that all files of a request may take beyond the ordinary. Without an end to it, a
/// device full of files that end the reader or keep it busy would be read for a day. Used by one
/// thread.
class TagReaderPatience {
 public:
  static constexpr std::chrono::milliseconds kTimeLimit{5000};

  /// @param limit  the time for one file
  explicit TagReaderPatience(std::chrono::milliseconds limit = kTimeLimit)
      : fileLimit(limit), left(kMostFaults * limit) {}

  [[nodiscard]] std::chrono::milliseconds timeLimit() const { return fileLimit; }

  [[nodiscard]] bool isSpent() const { return left <= WaitBudget::Clock::duration::zero(); }
  void spend(WaitBudget::Clock::duration time) {
    left -= std::max(time, WaitBudget::Clock::duration::zero());
  }

 private:
  /// Number of files that may end the reader or use up their time.
  static constexpr int kMostFaults = 64;

  const std::chrono::milliseconds fileLimit;
  WaitBudget::Clock::duration left;
};

}  // namespace orvel
