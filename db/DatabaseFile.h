#pragma once

#include <sqlite3.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "db/BusyHandler.h"

namespace orvel {

/// A connection of the database manager's own, for one operation. On a stage's thread it waits for
/// locks until the stage is stopped, on a host's thread for at most one second. Failures are logged
/// with the file's name.
class DatabaseFile {
 public:
  /// Opens `path` with `sqlite3_open_v2`'s `flags`.
  explicit DatabaseFile(const std::string& path, int flags = SQLITE_OPEN_READWRITE);

  [[nodiscard]] bool isOpen() const { return connection != nullptr; }
  [[nodiscard]] sqlite3* handle() const { return connection.get(); }

  /// Runs a whole SQL text; false and one log line on failure.
  bool exec(const char* sql);
  /// Runs one statement with text parameters; false and one log line on failure.
  bool run(const char* sql, std::initializer_list<std::string> parameters);
  /// Runs one statement that changes nothing in size, on a disk that has no room left even for a
  /// log. To be the first thing that is run on this connection; never waits, and does nothing while
  /// anybody else has the database open.
  bool runInPlace(const char* sql, std::initializer_list<std::string> parameters);
  /// Makes everything committed so far durable, and the write-ahead log empty unless somebody still
  /// reads from it. Never waits for readers: a head unit may keep a list open for hours.
  void checkpoint();
  /// The first column of each row as text, "" for NULL. Nothing, and one log line, when not every
  /// row could be read.
  std::optional<std::vector<std::string>> texts(const char* sql,
                                                std::initializer_list<std::string> parameters);

 private:
  struct Close {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
  };
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

  Statement prepare(const char* sql, std::initializer_list<std::string> parameters);
  void report(const char* sql) const;

  std::string file;
  sqlstl::BusyHandler busyHandler;
  std::unique_ptr<sqlite3, Close> connection;
};

}  // namespace orvel
