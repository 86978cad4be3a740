#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace orvel::sqlite {

/// Owns one prepared statement and finalizes it on destruction.
///
/// Use it on the thread that uses its connection, and finalize it before that connection is closed.
/// Preparing, binding and running return SQLite's result codes; an empty statement answers
/// SQLITE_MISUSE. Parameters count from 1, columns from 0.
class Statement {
 public:
  /// Replaces this statement by the first statement of `sql`; it is empty after a failure.
  int prepare(sqlite3* connection, const char* sql);
  /// Makes this statement empty, which releases its locks.
  void finalize();

  /// Binds a copy of `text`.
  int bind(int parameter, std::string_view text);
  /// Binds `text` itself, which must stay unchanged until the statement has run.
  int bindNoCopy(int parameter, std::string_view text);
  int bind(int parameter, int value);
  int bind(int parameter, std::int64_t value);

  /// Advances to the next row: SQLITE_ROW, SQLITE_DONE or an error code.
  int step();
  /// Makes the statement ready to run again; parameters keep their values.
  void reset();

  [[nodiscard]] int columnCount() const;
  /// SQLITE_NULL, SQLITE_INTEGER, SQLITE_FLOAT, SQLITE_TEXT or SQLITE_BLOB.
  [[nodiscard]] int columnType(int column) const;
  /// The column as NUL-terminated text, valid until the next step. Null for an SQL NULL and when
  /// memory runs out.
  [[nodiscard]] const char* columnText(int column) const;
  /// The size of the text that `columnText` has just returned.
  [[nodiscard]] std::size_t columnBytes(int column) const;
  [[nodiscard]] int columnInt(int column) const;
  [[nodiscard]] std::int64_t columnInt64(int column) const;
  [[nodiscard]] double columnDouble(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalize> handle;
};

}  // namespace orvel::sqlite
