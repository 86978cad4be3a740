#include "db/Transaction.h"

#include <cassert>

#include "db/ManagerSqlTexts.h"
#include "db/SqlTexts.h"

namespace orvel {

namespace {

bool settleOn(sqlite::Connection& connection) {
  if (!connection.isInTransaction()) return true;
  if (connection.exec(sql::kEndTransaction) == SQLITE_OK) return true;
  connection.exec(sql::kRollBack);
  return false;
}

}  // namespace

Transaction::Transaction(sqlstl::basic_sqlostream<char>& stream) : connection(stream.database()) {
  assert(!connection.isInTransaction() && "a transaction is open on this stream");
  begun = connection.exec(sql::kBeginTransaction) == SQLITE_OK;
}

Transaction::~Transaction() {
  if (!ended) rollBack();
}

void Transaction::rollBack() {
  ended = true;
  if (connection.isInTransaction()) connection.exec(sql::kRollBack);
}

bool Transaction::end() {
  assert(!ended && "the transaction has ended");
  ended = true;
  const int result = connection.exec(sql::kEndTransaction);
  if (!settleOn(connection)) return false;
  // No transaction is open any more. Where it had begun, a failed END means that SQLite rolled back
  // by itself; where it had not, each statement was committed on its own.
  return result == SQLITE_OK || !begun;
}

bool Transaction::settle(sqlstl::basic_sqlostream<char>& stream) {
  return settleOn(stream.database());
}

}  // namespace orvel
