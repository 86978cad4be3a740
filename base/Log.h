#pragma once

#include <atomic>

#include "base/Export.h"

namespace orvel {

/// Levels of the log, numbered as Diagnostic Log and Trace numbers them.
enum LogLevel : int { LOG_ERROR = 2, LOG_WARN = 3, LOG_INFO = 4, LOG_DEBUG = 5, LOG_VERBOSE = 6 };

/// When set, log lines carry the full signature of the function instead of its short name.
ORVEL_EXPORT extern std::atomic<bool> ovPrettyFunction;

/// Receives one finished log line without a line end. Called on the thread that logs, on several
/// threads at once; must not throw and must not replace the sink.
using LogSink = void (*)(void* user, int level, const char* function, int line, const char* text);

/// Lines above this level are dropped before anything is formatted. The default is LOG_WARN.
ORVEL_EXPORT void setLogThreshold(int level) noexcept;

/// Sends log lines to `sink` with `user`; null restores the default, the standard error stream.
/// When the call returns, no thread is inside the earlier sink any more.
ORVEL_EXPORT void setLogSink(LogSink sink, void* user) noexcept;

/// Sends log lines to Diagnostic Log and Trace as application `applicationId` (four characters).
/// Returns false when the library was built without it; nothing changes then.
ORVEL_EXPORT bool logToDlt(const char* applicationId) noexcept;

/// The one way into the log. The first argument is 0 and `context` is empty throughout the system;
/// any thread, never throws, truncates a line at 1023 bytes.
ORVEL_EXPORT void implOVLog(int reserved, int level, const char* function, int line,
                            const char* context, const char* format, ...) noexcept
    __attribute__((format(printf, 6, 7)));

}  // namespace orvel

#define OV_LOG(level, ...)                                                     \
  ::orvel::implOVLog(0, (level),                                               \
                     ::orvel::ovPrettyFunction.load(std::memory_order_relaxed) \
                         ? static_cast<const char*>(__PRETTY_FUNCTION__)       \
                         : static_cast<const char*>(__func__),                 \
                     __LINE__, "", __VA_ARGS__)
#define OV_ERROR(...) OV_LOG(::orvel::LOG_ERROR, __VA_ARGS__)
#define OV_WARN(...) OV_LOG(::orvel::LOG_WARN, __VA_ARGS__)
#define OV_INFO(...) OV_LOG(::orvel::LOG_INFO, __VA_ARGS__)
#define OV_DEBUG(...) OV_LOG(::orvel::LOG_DEBUG, __VA_ARGS__)
#define OV_VERBOSE(...) OV_LOG(::orvel::LOG_VERBOSE, __VA_ARGS__)
