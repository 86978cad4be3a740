#include "db/SqlStream.h"

#include <cstring>

#include <orvel/DatabaseMgr.h>
#include "base/Log.h"

namespace sqlstl {

namespace {

bool isErrorCode(int result) {
  return result >= 1 && result <= 26;
}

void configure(sqlite3* connection) {
  // The LIKE patterns are double-quoted literals, which some builds of SQLite reject by default.
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DQS_DML, 1, nullptr);
  // Views and triggers of a foreign file must not run functions with side effects.
  sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  // In WAL mode the order of commits holds without a flush for each.
  // Several stages have a connection each: half of the default cache, in KiB, costs no time.
  sqlite3_exec(connection, "PRAGMA synchronous=NORMAL; PRAGMA cache_size=-1000;", nullptr, nullptr,
               nullptr);
}

}  // namespace

template <class charT, class traits>
basic_sqlstream<charT, traits>::basic_sqlstream() {
  this->init(&buffer);
}

template <class charT, class traits>
basic_sqlstream<charT, traits>::~basic_sqlstream() {
  close();
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::open(const char* path, int busyTimeoutMs) {
  close();
  this->clear();
  if (sqlite3_open(path, &connection) != SQLITE_OK) {
    sqlite3_close(connection);  // a failed open still returns a handle
    connection = nullptr;
    this->setstate(std::ios_base::badbit);
    return;
  }
  OV_INFO("Set timeout to %d ms", busyTimeoutMs);
  busyHandler.install(connection, busyTimeoutMs);
  configure(connection);
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::close() {
  finalize();
  if (connection == nullptr) return;
  const int result = sqlite3_close(connection);
  if (result != SQLITE_OK) {
    OV_ERROR("Could not close db connection: %d %s", result, sqlite3_errmsg(connection));
  }
  connection = nullptr;
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::finalize() {
  sqlite3_finalize(statement);
  statement = nullptr;
}

template <class charT, class traits>
bool basic_sqlstream<charT, traits>::prepare(const char* sql) {
  this->clear();
  finalize();
  if (connection == nullptr) {
    reportFailure(SQLITE_MISUSE, "no open database");
    return false;
  }
  const int result = sqlite3_prepare_v2(connection, sql, -1, &statement, nullptr);
  if (result == SQLITE_OK) return true;
  reportFailure(result);
  return false;
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::reportFailure(int code, const char* message) {
  OV_ERROR("exec failed: %d %s", code, message);
  this->setstate(std::ios_base::badbit);
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::reportFailure(int code) {
  reportFailure(code, sqlite3_errmsg(connection));
  if (code == SQLITE_CORRUPT || code == SQLITE_NOTADB) {
    orvel::DatabaseMgr::instance().condemn(sqlite3_db_filename(connection, "main"));
  }
}

template <class charT, class traits>
void basic_sqlistream<charT, traits>::query(const char* sql) {
  if (!this->prepare(sql)) return;
  this->position = 0;
  step();
}

template <class charT, class traits>
void basic_sqlistream<charT, traits>::step() {
  if (this->fail()) {
    OV_ERROR("step failed");
    return;
  }
  const int result = sqlite3_step(this->statement);
  if (isErrorCode(result)) {
    this->reportFailure(result);
    this->finalize();
  } else if (result == SQLITE_DONE) {
    this->setstate(std::ios_base::eofbit);
  }
  this->position = 0;
}

template <class charT, class traits>
basic_sqlistream<charT, traits>& basic_sqlistream<charT, traits>::operator>>(std::string& text) {
  const auto* value =
      reinterpret_cast<const char*>(sqlite3_column_text(this->statement, this->position));
  if (value != nullptr) {
    text = value;
  } else {
    this->setstate(std::ios_base::failbit);
  }
  ++this->position;
  return *this;
}

template <class charT, class traits>
basic_sqlistream<charT, traits>& basic_sqlistream<charT, traits>::operator>>(int& value) {
  value = sqlite3_column_int(this->statement, this->position++);
  return *this;
}

template <class charT, class traits>
basic_sqlistream<charT, traits>& basic_sqlistream<charT, traits>::operator>>(double& value) {
  value = sqlite3_column_double(this->statement, this->position++);
  return *this;
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::query(const char* sql) {
  if (this->prepare(sql)) this->position = 1;
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::exec(const char* sql) {
  if (this->connection == nullptr) {
    this->reportFailure(SQLITE_MISUSE, "no open database");
    return;
  }
  const int result = sqlite3_exec(this->connection, sql, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) this->reportFailure(result);
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::advance(int bindResult) {
  if (bindResult != SQLITE_OK) this->setstate(std::ios_base::failbit);
  ++this->position;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(const char* text) {
  if (!this->good()) return *this;
  const char* bound = text == nullptr ? "" : text;
  advance(sqlite3_bind_text(this->statement, this->position, bound,
                            static_cast<int>(std::strlen(bound)), SQLITE_STATIC));
  return *this;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(
    const std::string& text) {
  return *this << text.c_str();
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(int value) {
  if (this->good()) advance(sqlite3_bind_int(this->statement, this->position, value));
  return *this;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(long value) {
  if (this->good()) advance(sqlite3_bind_int64(this->statement, this->position, value));
  return *this;
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::step() {
  if (this->fail()) {
    OV_ERROR("step failed");
    return;
  }
  const int result = sqlite3_step(this->statement);
  if (result == SQLITE_DONE) {
    sqlite3_reset(this->statement);
  } else if (isErrorCode(result) || result == SQLITE_ROW) {
    // A row counts as an error on purpose: an output statement must not return rows.
    this->reportFailure(result);
    this->finalize();
  }
  this->position = 1;
}

template class basic_sqlstream<char>;
template class basic_sqlistream<char>;
template class basic_sqlostream<char>;

}  // namespace sqlstl
