#pragma once

#include <orvel/Settings.h>

#include "cli/ProgressLine.h"

namespace orvel::cli {

/// Configures the library, and while it lives, prints the library's log above a progress line.
class LogOutput {
 public:
  /// `settings` may leave the log sink out.
  LogOutput(ProgressLine& line, Settings settings);
  ~LogOutput();
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;

 private:
  Settings chosen;
};

}  // namespace orvel::cli
