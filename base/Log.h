#pragma once

#include <orvel/Log.h>

#include <atomic>

namespace orvel {

/// When set, log lines carry the full signature of the function instead of its short name.
extern std::atomic<bool> ovPrettyFunction;

/// Lines above this level are dropped before anything is formatted. The default is Warning.
void setLogThreshold(LogLevel level) noexcept;

/// Sends log lines to `sink` with `user`; null restores the default, the standard error stream.
/// When the call returns, no thread is inside the earlier sink any more.
void setLogSink(LogSink sink, void* user) noexcept;

/// Sends log lines to Diagnostic Log and Trace as application `applicationId` (four characters).
/// Returns false when the library was built without it; nothing changes then.
bool logToDlt(const char* applicationId) noexcept;

/// Names the server whose thread this is, by which sinks tell lines apart. `server` is a string
/// literal.
void setLogOrigin(const char* server) noexcept;

/// The name of the current thread's server; empty on foreign threads.
const char* logOrigin() noexcept;

/// The one way into the log. The first argument is 0, `level` a LogLevel, and `context` empty
/// throughout the system; any thread, never throws, truncates a line at 1023 bytes.
void implOVLog(int reserved, int level, const char* function, int line, const char* context,
               const char* format, ...) noexcept __attribute__((format(printf, 6, 7)));

}  // namespace orvel

#define OV_LOG(level, ...)                                                     \
  ::orvel::implOVLog(0, static_cast<int>(level),                               \
                     ::orvel::ovPrettyFunction.load(std::memory_order_relaxed) \
                         ? static_cast<const char*>(__PRETTY_FUNCTION__)       \
                         : static_cast<const char*>(__func__),                 \
                     __LINE__, "", __VA_ARGS__)
#define OV_ERROR(...) OV_LOG(::orvel::LogLevel::Error, __VA_ARGS__)
#define OV_WARN(...) OV_LOG(::orvel::LogLevel::Warning, __VA_ARGS__)
#define OV_INFO(...) OV_LOG(::orvel::LogLevel::Info, __VA_ARGS__)
#define OV_DEBUG(...) OV_LOG(::orvel::LogLevel::Debug, __VA_ARGS__)
#define OV_VERBOSE(...) OV_LOG(::orvel::LogLevel::Verbose, __VA_ARGS__)
