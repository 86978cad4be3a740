#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "db/BusyHandler.h"
#include "db/sqlite/Connection.h"
#include "db/sqlite/Statement.h"

namespace orvel {

/// A connection of the database manager to one database file, for one operation on one thread.
///
/// On a stage's thread it waits for locks until the stage is stopped, on a host's thread at most
/// `sqlstl::kHostLockWait`. Each failure is one log line with the file's path and SQLite's message;
/// a file that SQLite calls corrupt is condemned (`DatabaseMgr::condemn`).
class DatabaseFile {
 public:
  /// Opens `path` with the flags of sqlite3_open_v2.
  explicit DatabaseFile(const std::string& path, int flags = SQLITE_OPEN_READWRITE);

  [[nodiscard]] bool isOpen() const { return connection.isOpen(); }
  /// SQLite's result code of the last failure.
  [[nodiscard]] int errorCode() const { return connection.errorCode(); }

  /// Runs every statement of `sql`. True when all succeeded.
  bool exec(const char* sql);
  /// The same for a text with its own BEGIN and COMMIT: rolls back a transaction that a failure
  /// left open.
  bool execTransaction(const char* sql);
  /// Runs `work` in a write transaction, and commits when it returns true. True when committed.
  bool transact(const std::function<bool()>& work);
  /// Runs one statement with text parameters. True on success.
  bool run(const char* sql, std::initializer_list<std::string> parameters);
  /// Overwrites existing rows on a disk without room for a log. True when one row was changed.
  ///
  /// `sql` must not make the file grow. Must be the first call on this object; never waits, and
  /// does nothing while anybody else has the database open.
  bool overwriteRow(const char* sql, std::initializer_list<std::string> parameters);
  /// Makes everything committed so far durable, and empties the write-ahead log unless somebody
  /// still reads from it. Never waits for readers: a head unit may keep a list open for hours.
  void checkpoint();
  /// The first column of each row as text, "" for NULL. Nothing when a row could not be read.
  std::optional<std::vector<std::string>> texts(const char* sql,
                                                std::initializer_list<std::string> parameters = {});

 private:
  [[nodiscard]] bool isUsable() const;
  /// False, and `statement` is empty, on failure.
  bool prepare(const char* sql, std::initializer_list<std::string> parameters,
               sqlite::Statement& statement);
  /// Logs the last failure, which `sql` met.
  void report(const char* sql) const;
  void syncLog() const;

  std::string file;
  sqlstl::BusyHandler busyHandler;  ///< outlives `connection`
  sqlite::Connection connection;
};

}  // namespace orvel
