#pragma once

#include <orvel/Settings.h>

#include "cli/LogDigest.h"
#include "cli/ProgressLine.h"

namespace orvel::cli {

/// Configures the library, and while it lives, prints the library's log above a progress line,
/// unless the settings send the log to Diagnostic Log and Trace. May sum up warnings about single
/// files, and then prints a line for each kind at the end.
class LogOutput {
 public:
  /// `settings` may leave the log sink out. Throws CommandError for a log that the library was
  /// built without.
  LogOutput(ProgressLine& progressLine, Settings settings, bool isSummedUp = false);
  ~LogOutput();
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;

 private:
  static void print(void* user, LogLevel level, const char* function, int line, const char* text);

  ProgressLine& line;
  Settings chosen;
  bool sumsUp;
  LogDigest digest;
};

}  // namespace orvel::cli
