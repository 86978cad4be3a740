#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include "framework/RequestProgress.h"

namespace orvel::cli {

/// Shows on standard error how far the run is: on a terminal one line that is rewritten in place,
/// otherwise a line per phase and then one every few seconds. Log lines go through it, so that the
/// two do not mix. Any thread.
class ProgressLine {
 public:
  /// `visible` false: only what is passed to `print` is shown.
  explicit ProgressLine(bool visible);
  /// Removes the line.
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// A new partition begins; its songs per second are counted from here.
  void begin(const std::string& mountPoint);
  void show(const ProgressSnapshot& snapshot);
  /// Prints a line of its own. `text` is shown with its control characters escaped.
  void print(const std::string& text);

 private:
  using Clock = std::chrono::steady_clock;

  [[nodiscard]] std::string describe(const ProgressSnapshot& snapshot) const;
  [[nodiscard]] bool isDue(const ProgressSnapshot& snapshot, const std::string& text) const;
  void draw();
  void erase();

  const bool isVisible;
  const bool isTerminal;
  std::mutex mutex;
  std::string mountPoint;
  std::string line;  ///< what is shown last
  bool isDrawn = false;
  RequestPhase phase = RequestPhase::Waiting;
  Clock::time_point started = Clock::now();
  Clock::time_point shown;
};

}  // namespace orvel::cli
