#pragma once

#include "cli/ProgressLine.h"

namespace orvel::cli {

/// While it lives, the library's log goes through a progress line.
class LogOutput {
 public:
  /// Lines above `threshold` (see LogLevel) are dropped.
  LogOutput(ProgressLine& line, int threshold);
  ~LogOutput();
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;
};

}  // namespace orvel::cli
