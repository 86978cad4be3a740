#pragma once

#include <sqlite3.h>

#include <chrono>
#include <stop_token>

namespace sqlstl {

/// While one lives, all waits of its thread for locks end by the same moment. An inner one changes
/// nothing.
class WaitLimit {
 public:
  /// @param most  for all waits together, from now on
  explicit WaitLimit(std::chrono::milliseconds most);
  ~WaitLimit();
  WaitLimit(const WaitLimit&) = delete;
  WaitLimit& operator=(const WaitLimit&) = delete;

 private:
  bool isOutermost;
};

/// Lets a connection wait for other connections' locks, in short sleeps that end when the stage on
/// whose thread it was installed is stopped: interrupting a connection does not end SQLite's own
/// wait. Must outlive the connection.
class BusyHandler {
 public:
  /// Replaces the connection's busy time-out by a wait of at most `timeoutMs`.
  void install(sqlite3* connection, int timeoutMs);

 private:
  static int wait(void* handler, int attempts);

  std::stop_token stageStopped;
  std::chrono::milliseconds timeout{0};
  std::chrono::steady_clock::time_point deadline;  ///< of the wait under way
};

}  // namespace sqlstl
