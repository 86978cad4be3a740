#pragma once

#include <orvel/Settings.h>

#include "cli/ProgressLine.h"

namespace orvel::cli {

/// Configures the library, and while it lives, prints the library's log above a progress line,
/// unless the settings send the log to Diagnostic Log and Trace.
class LogOutput {
 public:
  /// `settings` may leave the log sink out. Throws CommandError for a log that the library was
  /// built without.
  LogOutput(ProgressLine& line, Settings settings);
  ~LogOutput();
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;

 private:
  Settings chosen;
};

}  // namespace orvel::cli
