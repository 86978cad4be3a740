#pragma once

#include <orvel/Log.h>

#include <chrono>
#include <mutex>
#include <string>

#include "framework/RequestProgress.h"

namespace orvel::cli {

/// Shows progress on standard error: on a terminal one line that is rewritten in place, otherwise a
/// line per phase and one every few seconds. Log lines go through it, so that the two do not mix.
/// Any thread may call it.
class ProgressLine {
 public:
  /// @param visible  false: show only the texts passed to `print`
  explicit ProgressLine(bool visible);
  /// Erases the line.
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Begins a partition and restarts the count of songs per second.
  void begin(const std::string& mountPoint);
  void show(const ProgressSnapshot& snapshot);
  /// Prints `text` on a line of its own, with control characters escaped, and with the priority of
  /// `level` where the line goes to the system's journal.
  void print(const std::string& text, LogLevel level = LogLevel::Info);

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
  std::string line;  ///< the text shown last
  bool isDrawn = false;
  RequestPhase phase = RequestPhase::Waiting;
  Clock::time_point started = Clock::now();
  Clock::time_point shown;
};

}  // namespace orvel::cli
