#include "base/Log.h"
#include "base/NoDestructor.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <shared_mutex>

#include "base/DltLog.h"
#include "base/journal.h"

namespace orvel {

std::atomic<bool> ovPrettyFunction{false};

namespace {

constexpr std::size_t kLineBytes = 1024;

std::atomic<LogLevel> threshold{LogLevel::Warning};

thread_local const char* origin = "";

/// Where lines go. Never destroyed, since threads may log until the process ends.
struct SinkHolder {
  std::shared_mutex mutex;
  LogSink sink = nullptr;
  void* user = nullptr;
};

SinkHolder& sinkHolder() {
  static NoDestructor<SinkHolder> holder;
  return *holder;
}

/// One write per line, past std::cerr, whose buffer is redirected while tags are read.
void writeToStandardError(LogLevel level, const char* function, int line, const char* text) {
  char buffer[kLineBytes + 256];
  const int length =
      snprintf(buffer, sizeof buffer, "%sorvel [%d] %s:%d %s\n",
               journalPrefix(STDERR_FILENO, level), static_cast<int>(level), function, line, text);
  if (length <= 0) return;
  std::size_t bytes = static_cast<std::size_t>(length);
  if (bytes >= sizeof buffer) {
    bytes = sizeof buffer - 1;
    buffer[bytes - 1] = '\n';
  }
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, buffer, bytes);
}

void dispatch(LogLevel level, const char* function, int line, const char* text) {
  SinkHolder& holder = sinkHolder();
  const std::shared_lock guard(holder.mutex);
  if (holder.sink != nullptr) {
    holder.sink(holder.user, level, function, line, text);
  } else {
    writeToStandardError(level, function, line, text);
  }
}

}  // namespace

void setLogThreshold(LogLevel level) noexcept {
  threshold.store(level, std::memory_order_relaxed);
}

void setLogSink(LogSink sink, void* user) noexcept {
  SinkHolder& holder = sinkHolder();
  const std::unique_lock guard(holder.mutex);
  holder.sink = sink;
  holder.user = user;
}

void setLogOrigin(const char* server) noexcept {
  origin = server;
}

const char* logOrigin() noexcept {
  return origin;
}

bool logToDlt(const char* applicationId) noexcept {
  const LogSink sink = openDltSink(applicationId);
  if (sink == nullptr) return false;
  setLogSink(sink, nullptr);
  return true;
}

void implOVLog(int /*reserved*/, int levelNumber, const char* function, int line,
               const char* /*context*/, const char* format, ...) noexcept {
  const auto level = static_cast<LogLevel>(levelNumber);
  if (level > threshold.load(std::memory_order_relaxed)) return;
  char text[kLineBytes];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  try {
    dispatch(level, function, line, text);
  } catch (...) {
    // A line that cannot be delivered is dropped: logging never disturbs its caller.
    return;
  }
}

}  // namespace orvel
