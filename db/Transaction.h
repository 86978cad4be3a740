#pragma once

#include <sqlite3.h>

#include "db/SqlStream.h"

namespace orvel {

/// One transaction on the output connection of a stage. The results of its two statements are not
/// errors of the stage, but a stage must learn whether its rows survived: SQLite rolls back by
/// itself when the disk is full or a write fails.
class Transaction {
 public:
  /// Begins on `stream`, which must be open and outlive the transaction.
  explicit Transaction(sqlstl::basic_sqlostream<char>& stream);
  /// Rolls back what was not ended, so that a stage that fails with an exception holds no lock.
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  /// Ends the transaction. Returns true when everything written since the beginning is committed.
  /// A transaction that cannot be ended is tried once more and then rolled back.
  [[nodiscard]] bool end();

  /// Undoes everything written since the beginning.
  void rollBack();

  /// Leaves no transaction open on `connection`, for texts that carry their own BEGIN and COMMIT.
  /// Returns false when it had to roll back.
  static bool settle(sqlite3* connection);

 private:
  sqlite3* connection;
  bool begun;
  bool ended = false;
};

}  // namespace orvel
