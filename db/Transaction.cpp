#include "db/Transaction.h"

#include "db/SqlTexts.h"

namespace orvel {

namespace {

constexpr char kRollback[] = "ROLLBACK;";

int run(sqlite3* connection, const char* sql) {
  if (connection == nullptr) return SQLITE_MISUSE;
  return sqlite3_exec(connection, sql, nullptr, nullptr, nullptr);
}

}  // namespace

Transaction::Transaction(sqlstl::basic_sqlostream<char>& stream)
    : connection(stream.handle()), begun(run(connection, sql::kBeginTransaction) == SQLITE_OK) {}

Transaction::~Transaction() {
  if (!ended) rollBack();
}

void Transaction::rollBack() {
  ended = true;
  if (connection != nullptr && sqlite3_get_autocommit(connection) == 0) run(connection, kRollback);
}

bool Transaction::end() {
  ended = true;
  const int result = run(connection, sql::kEndTransaction);
  if (!settle(connection)) return false;
  // Ending fails without an open transaction when SQLite has rolled back by itself meanwhile.
  return result == SQLITE_OK || !begun;
}

bool Transaction::settle(sqlite3* connection) {
  if (connection == nullptr || sqlite3_get_autocommit(connection) != 0) return true;
  if (run(connection, sql::kEndTransaction) == SQLITE_OK) return true;
  run(connection, kRollback);
  return false;
}

}  // namespace orvel
