#include "db/BusyHandler.h"

#include <algorithm>
#include <cassert>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>

#include "base/StageThread.h"

namespace sqlstl {

namespace {

constexpr std::chrono::milliseconds kPause{5};
/// Some 100 microseconds of SQLite's virtual machine.
constexpr int kInstructionsBetweenLooks = 10000;

/// Set by the outermost WaitLimit of the thread.
thread_local std::optional<std::chrono::steady_clock::time_point> threadDeadline;

}  // namespace

WaitLimit::WaitLimit(std::chrono::milliseconds most) : isOutermost(!threadDeadline) {
  if (isOutermost) threadDeadline = std::chrono::steady_clock::now() + most;
}

WaitLimit::~WaitLimit() {
  assert(threadDeadline && "destroyed on another thread, or an outer limit ended first");
  if (isOutermost) threadDeadline.reset();
}

void BusyHandler::install(orvel::sqlite::Connection& connection,
                          std::chrono::milliseconds timeout) {
  stageStopped = orvel::stageThread::stopToken();
  longestWait = timeout;
  sqlite3_busy_timeout(connection.get(), static_cast<int>(timeout.count()));
  sqlite3_busy_handler(connection.get(), &BusyHandler::wait, this);
  if (!stageStopped.stop_possible()) return;
  sqlite3_progress_handler(connection.get(), kInstructionsBetweenLooks, &BusyHandler::isStopped,
                           this);
  // Asked with the write lock held: whatever a newer request commits comes before or after.
  sqlite3_commit_hook(connection.get(), &BusyHandler::isStopped, this);
}

void BusyHandler::remove(orvel::sqlite::Connection& connection) {
  sqlite3_busy_handler(connection.get(), nullptr, nullptr);
}

/// SQLite's callback: 1 tries the lock again, 0 makes the statement fail with SQLITE_BUSY.
int BusyHandler::wait(void* handler, int attempts) {
  auto& self = *static_cast<BusyHandler*>(handler);
  assert(self.stageStopped == orvel::stageThread::stopToken() && "waits on another thread");
  const auto now = std::chrono::steady_clock::now();
  if (attempts == 0) {
    self.deadline = now + self.longestWait;
    if (threadDeadline) self.deadline = std::min(self.deadline, *threadDeadline);
  }
  if (now >= self.deadline) return 0;
  try {
    return self.sleep() ? 1 : 0;
  } catch (const std::exception&) {
    return 0;  // an exception must not pass through SQLite's frames
  }
}

/// SQLite's callback: 1 makes the running statement fail with SQLITE_INTERRUPT, and turns a commit
/// into a rollback that fails with SQLITE_CONSTRAINT_COMMITHOOK.
int BusyHandler::isStopped(void* handler) {
  return static_cast<BusyHandler*>(handler)->stageStopped.stop_requested() ? 1 : 0;
}

bool BusyHandler::sleep() const {
  std::mutex mutex;
  std::condition_variable_any never;
  std::unique_lock lock(mutex);
  never.wait_for(lock, stageStopped, kPause, [] { return false; });
  return !stageStopped.stop_requested();
}

}  // namespace sqlstl
