#pragma once

#include <sqlite3.h>

#include <memory>

namespace orvel::sqlite {

/// Owns one connection to a database and closes it on destruction.
///
/// Adds no policy: logs nothing and throws nothing, so each user reports errors in its own way.
/// `open`, `close` and `exec` return SQLite's result code, `exec` SQLITE_MISUSE while nothing is
/// open. Use a connection on one thread at a time, and finalize its statements before it is closed.
class Connection {
 public:
  /// Opens `path` with the flags of sqlite3_open_v2 in place of an open connection. Allows
  /// double-quoted literals and distrusts the file's schema. After a failure no connection is open.
  ///
  /// Closing it leaves the write-ahead log as it is, also when no other connection is open.
  int open(const char* path, int flags);
  /// Lets the close of an open connection, when it is the database's last one, write the log into
  /// the database and remove it.
  void emptyLogOnClose();
  /// Closes the connection if it is open. SQLITE_BUSY, and still open, while one of its statements
  /// is not finalized.
  int close();
  /// Gives the connection up without closing it.
  sqlite3* release() { return handle.release(); }

  [[nodiscard]] bool isOpen() const { return handle != nullptr; }
  /// For functions of SQLite that this class does not offer; still owned by this object.
  [[nodiscard]] sqlite3* get() const { return handle.get(); }

  /// Runs every statement of `sql`, dropping the rows.
  int exec(const char* sql);

  [[nodiscard]] bool isInTransaction() const;
  /// The number of rows that the last INSERT, UPDATE or DELETE changed.
  [[nodiscard]] int changes() const;
  /// The database's path; null when there is none.
  [[nodiscard]] const char* fileName() const;
  /// The result code and the message of the last failure, that of `open` included.
  [[nodiscard]] int errorCode() const;
  [[nodiscard]] const char* errorMessage() const;
  /// True when the last failure is no error but the stop of the thread's stage.
  [[nodiscard]] bool wasStopped() const;

 private:
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  std::unique_ptr<sqlite3, Close> handle;
  int openResult = SQLITE_MISUSE;
};

}  // namespace orvel::sqlite
