#include "db/sqlite/Connection.h"

namespace orvel::sqlite {

void Connection::Close::operator()(sqlite3* connection) const {
  sqlite3_close(connection);
}

int Connection::open(const char* path, int flags) {
  sqlite3* opened = nullptr;
  // A link in the place of a database could lead anywhere.
  openResult = sqlite3_open_v2(path, &opened, flags | SQLITE_OPEN_NOFOLLOW, nullptr);
  handle.reset(opened);
  if (openResult != SQLITE_OK) {
    handle.reset();  // a failed open still returns a handle
    return openResult;
  }
  // The LIKE patterns are double-quoted literals, which some builds of SQLite reject by default.
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DQS_DML, 1, nullptr);
  // Views and triggers of a foreign file must not run functions with side effects.
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  // Connections are many and short, and each flush takes a flash chip 10 to 20 ms.
  sqlite3_db_config(opened, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  return SQLITE_OK;
}

void Connection::emptyLogOnClose() {
  sqlite3_db_config(handle.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
}

int Connection::close() {
  const int result = sqlite3_close(handle.get());
  if (result == SQLITE_OK) static_cast<void>(handle.release());
  return result;
}

int Connection::exec(const char* sql) {
  return sqlite3_exec(handle.get(), sql, nullptr, nullptr, nullptr);
}

bool Connection::isInTransaction() const {
  return isOpen() && sqlite3_get_autocommit(handle.get()) == 0;
}

int Connection::changes() const {
  return isOpen() ? sqlite3_changes(handle.get()) : 0;
}

const char* Connection::fileName() const {
  return isOpen() ? sqlite3_db_filename(handle.get(), "main") : nullptr;
}

int Connection::errorCode() const {
  return isOpen() ? sqlite3_errcode(handle.get()) : openResult;
}

const char* Connection::errorMessage() const {
  return isOpen() ? sqlite3_errmsg(handle.get()) : sqlite3_errstr(openResult);
}

bool Connection::wasStopped() const {
  if (!isOpen()) return false;
  const int code = sqlite3_extended_errcode(handle.get());
  return code == SQLITE_INTERRUPT || code == SQLITE_CONSTRAINT_COMMITHOOK;
}

}  // namespace orvel::sqlite
