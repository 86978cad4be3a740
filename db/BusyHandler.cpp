#include "db/BusyHandler.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>

#include "base/StageThread.h"

namespace sqlstl {

namespace {
constexpr std::chrono::milliseconds kSleep{5};

thread_local std::optional<std::chrono::steady_clock::time_point> latestEnd;
}  // namespace

WaitLimit::WaitLimit(std::chrono::milliseconds most) : isOutermost(!latestEnd) {
  if (isOutermost) latestEnd = std::chrono::steady_clock::now() + most;
}

WaitLimit::~WaitLimit() {
  if (isOutermost) latestEnd.reset();
}

void BusyHandler::install(sqlite3* connection, int timeoutMs) {
  stageStopped = orvel::stageThread::stopToken();
  timeout = std::chrono::milliseconds(timeoutMs);
  sqlite3_busy_timeout(connection, timeoutMs);
  sqlite3_busy_handler(connection, &BusyHandler::wait, this);
}

int BusyHandler::wait(void* handler, int attempts) {
  auto& self = *static_cast<BusyHandler*>(handler);
  const auto now = std::chrono::steady_clock::now();
  if (attempts == 0) {
    self.deadline = now + self.timeout;
    if (latestEnd) self.deadline = std::min(self.deadline, *latestEnd);
  }
  if (now >= self.deadline) return 0;
  try {
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    stopped.wait_for(lock, self.stageStopped, kSleep, [] { return false; });
  } catch (const std::exception&) {
    return 0;  // nothing may pass through SQLite's frames: give up like a time-out
  }
  return self.stageStopped.stop_requested() ? 0 : 1;
}

}  // namespace sqlstl
