#include "db/cleanUp.h"

#include "db/SqlTexts.h"
#include "db/Transaction.h"
#include "db/sqlite/Statement.h"

namespace orvel {

// Rows lose their song, or come without one, only by the requests and by the removal of a
// partition:
// - A request stores "PROGRESS" for its partition in the transaction that deletes its first rows,
//   and stores no row before that; without the mark it changes nothing. Only a request that has
//   cleaned up after its last change, of any branch, stores "OK". A kill in between, or another
//   request that still changes rows, is seen as "PROGRESS".
// - A removed partition says "PROGRESS" until its rows are cleaned up, and then goes.
// - A database that is emptied has no status.
bool isCleanedUp(sqlite::Connection& database) {
  sqlite::Statement complete;
  return complete.prepare(database.get(), sql::kSelectAllComplete) == SQLITE_OK &&
         complete.step() == SQLITE_ROW && complete.columnInt(0) == 1;
}

bool cleanUp(sqlstl::basic_sqlostream<char>& out, const char* sql) {
  out.clear();
  out.exec(sql);
  return Transaction::settle(out) && out.good();
}

}  // namespace orvel
