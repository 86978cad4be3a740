#pragma once

#include "cli/ProgressLine.h"

namespace orvel::cli {

/// Sends the library's log through a progress line while in scope.
class LogOutput {
 public:
  /// Lines above `threshold` (see LogLevel) are dropped.
  LogOutput(ProgressLine& line, int threshold);
  ~LogOutput();
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;
};

}  // namespace orvel::cli
