#pragma once

#include <chrono>
#include <stop_token>

#include "db/sqlite/Connection.h"

namespace orvel {

/// How long a stage waits for another stage's transaction before it fails: one hour.
constexpr int kBusyTimeoutMs = 3600000;

}  // namespace orvel

namespace sqlstl {

/// The longest that a call on a host's own thread may wait for locks. That thread draws the user
/// interface, a rear-view camera's menu included.
inline constexpr std::chrono::milliseconds kHostLockWait{900};

/// Sets one deadline for all lock waits of this thread while in scope. Nested instances have no
/// effect. Destroy it on the thread that created it.
class WaitLimit {
 public:
  /// @param most  for all waits together, counted from now
  explicit WaitLimit(std::chrono::milliseconds most);
  ~WaitLimit();
  WaitLimit(const WaitLimit&) = delete;
  WaitLimit& operator=(const WaitLimit&) = delete;

 private:
  bool isOutermost;
};

/// Makes a connection wait for the locks of other connections until a time-out, a `WaitLimit` of
/// the thread, or a stop of the thread's stage, whichever comes first. SQLite's own wait would go
/// on after a stop, even when the connection is interrupted. A stop of the stage also ends a
/// running statement and makes every commit a rollback: a newer request may be writing by now
/// (`Connection::wasStopped`).
///
/// The handler must outlive the connection, which must be used on the installing thread as long as
/// it may meet locks.
class BusyHandler {
 public:
  /// Replaces the connection's busy time-out. `timeout` bounds each wait.
  void install(orvel::sqlite::Connection& connection, std::chrono::milliseconds timeout);

  /// Makes the connection fail at once where a lock is held.
  static void remove(orvel::sqlite::Connection& connection);

 private:
  static int wait(void* handler, int attempts);
  static int isStopped(void* handler);
  /// Sleeps briefly; false when the stage was stopped.
  bool sleep() const;

  std::stop_token stageStopped;
  std::chrono::milliseconds longestWait{0};
  std::chrono::steady_clock::time_point deadline;  ///< of the wait under way
};

}  // namespace sqlstl
