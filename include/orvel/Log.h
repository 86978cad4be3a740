#pragma once

namespace orvel {

/// Levels of the log, numbered as Diagnostic Log and Trace numbers them.
enum class LogLevel : int { Error = 2, Warning = 3, Info = 4, Debug = 5, Verbose = 6 };

/// Receives one finished log line without a line end, of the source line `line` in `function`.
/// Called on the thread that logs, on several threads at once; must not throw and must not call
/// `configure`.
using LogSink = void (*)(void* user, LogLevel level, const char* function, int line,
                         const char* text);

}  // namespace orvel
