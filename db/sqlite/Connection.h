#pragma once

#include <sqlite3.h>

#include <memory>

namespace orvel::sqlite {

/// Owns one connection to a database and closes it on destruction.
///
/// Adds no policy: nothing is logged and nothing throws. Functions that return an int return
/// SQLite's result code, SQLITE_MISUSE while no connection is open; each user reports errors in its
/// own way. Use a connection on one thread at a time, and destroy its statements before it.
class Connection {
 public:
  /// Opens `path` with the flags of sqlite3_open_v2 in place of an open connection. Allows
  /// double-quoted literals and distrusts the file's schema. After a failure no connection is open.
  int open(const char* path, int flags);
  /// Closes the connection. SQLITE_BUSY while a statement of it is not finalized: the connection
  /// then stays open.
  int close();
  /// Gives the connection up without closing it.
  sqlite3* release() { return handle.release(); }

  [[nodiscard]] bool isOpen() const { return handle != nullptr; }
  /// For functions of SQLite that this class does not offer; still owned by this object.
  [[nodiscard]] sqlite3* get() const { return handle.get(); }

  /// Runs every statement of `sql`, dropping the rows.
  int exec(const char* sql);

  [[nodiscard]] bool isInTransaction() const;
  /// How many rows the last INSERT, UPDATE or DELETE changed.
  [[nodiscard]] int changes() const;
  /// The database's path; null when there is none.
  [[nodiscard]] const char* fileName() const;
  /// The result code and the message of the last failure, that of `open` included.
  [[nodiscard]] int errorCode() const;
  [[nodiscard]] const char* errorMessage() const;

 private:
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  std::unique_ptr<sqlite3, Close> handle;
  int openResult = SQLITE_MISUSE;
};

}  // namespace orvel::sqlite
