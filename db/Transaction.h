#pragma once

#include "db/SqlStream.h"

namespace orvel {

/// One write transaction on a stage's output stream. Use it on one thread, one at a time on a
/// stream.
///
/// A failing BEGIN or END is not reported as an error of the stage. The stage must learn, though,
/// whether its rows survived: SQLite rolls back by itself when a write fails or the disk is full.
class Transaction {
 public:
  /// Begins on `stream`, which must outlive the transaction and have none open.
  explicit Transaction(sqlstl::basic_sqlostream<char>& stream);
  /// Rolls back unless `end` or `rollBack` was called, so that an exception releases the lock.
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  /// Commits; true when everything written since the beginning is stored. Tries a failed commit
  /// once more and then rolls back. Rolls back on the thread of a stopped stage. Call it at most
  /// once, and not after `rollBack`.
  [[nodiscard]] bool end();

  /// Undoes everything written since the beginning.
  void rollBack();

  /// Ends the transaction that a text with its own BEGIN and COMMIT left open on `stream`: commits,
  /// or rolls back and returns false. True when none was open.
  static bool settle(sqlstl::basic_sqlostream<char>& stream);

 private:
  sqlite::Connection& connection;
  bool begun;
  bool ended = false;
};

}  // namespace orvel
