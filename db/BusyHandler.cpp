#include "db/BusyHandler.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>

#include "platform/common/StageThread.h"

namespace sqlstl {

namespace {
constexpr int kSleepMs = 5;
}  // namespace

void BusyHandler::install(sqlite3* connection, int timeoutMs) {
  stageStopped = orvel::stageThread::stopToken();
  timeout = timeoutMs;
  sqlite3_busy_timeout(connection, timeoutMs);
  sqlite3_busy_handler(connection, &BusyHandler::wait, this);
}

int BusyHandler::wait(void* handler, int attempts) {
  const auto& self = *static_cast<const BusyHandler*>(handler);
  if (attempts >= self.timeout / kSleepMs) return 0;
  try {
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    stopped.wait_for(lock, self.stageStopped, std::chrono::milliseconds(kSleepMs),
                     [] { return false; });
  } catch (const std::exception&) {
    return 0;  // nothing may pass through SQLite's frames: give up like a time-out
  }
  return self.stageStopped.stop_requested() ? 0 : 1;
}

}  // namespace sqlstl
