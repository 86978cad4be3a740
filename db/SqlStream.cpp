#include "db/SqlStream.h"

#include <orvel/DatabaseMgr.h>

#include <chrono>
#include <cstdint>

#include "base/Log.h"
#include "db/ManagerSqlTexts.h"

namespace sqlstl {

namespace {

bool isErrorCode(int result) {
  return result >= 1 && result <= 26;
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
  // The flags of sqlite3_open.
  if (connection.open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) != SQLITE_OK) {
    this->setstate(std::ios_base::badbit);
    return;
  }
  OV_INFO("Set timeout to %d ms", busyTimeoutMs);
  busyHandler.install(connection, std::chrono::milliseconds(busyTimeoutMs));
  connection.exec(orvel::sql::kTuneStage);
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::close() {
  finalize();
  const int result = connection.close();
  if (result == SQLITE_OK) return;
  OV_ERROR("Could not close db connection: %d %s", result, connection.errorMessage());
  // A statement prepared directly on the handle keeps the connection open; its owner must close it.
  connection.release();
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::finalize() {
  statement.finalize();
}

template <class charT, class traits>
bool basic_sqlstream<charT, traits>::prepare(const char* sql) {
  this->clear();
  finalize();
  if (!connection.isOpen()) {
    reportFailure(SQLITE_MISUSE, "no open database");
    return false;
  }
  const int result = statement.prepare(handle(), sql);
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
  if (connection.wasStopped()) {
    this->setstate(std::ios_base::badbit);
    return;
  }
  reportFailure(code, connection.errorMessage());
  if (code == SQLITE_CORRUPT || code == SQLITE_NOTADB) {
    orvel::DatabaseMgr::instance().condemn(connection.fileName());
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
  const int result = this->statement.step();
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
  if (const char* value = this->statement.columnText(this->position)) {
    text = value;
  } else {
    this->setstate(std::ios_base::failbit);
  }
  ++this->position;
  return *this;
}

template <class charT, class traits>
basic_sqlistream<charT, traits>& basic_sqlistream<charT, traits>::operator>>(int& value) {
  value = this->statement.columnInt(this->position++);
  return *this;
}

template <class charT, class traits>
basic_sqlistream<charT, traits>& basic_sqlistream<charT, traits>::operator>>(double& value) {
  value = this->statement.columnDouble(this->position++);
  return *this;
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::query(const char* sql) {
  if (this->prepare(sql)) this->position = 1;
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::exec(const char* sql) {
  if (!this->connection.isOpen()) {
    this->reportFailure(SQLITE_MISUSE, "no open database");
    return;
  }
  const int result = this->connection.exec(sql);
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
  advance(this->statement.bindNoCopy(this->position, text == nullptr ? "" : text));
  return *this;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(
    const std::string& text) {
  return *this << text.c_str();
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(int value) {
  if (this->good()) advance(this->statement.bind(this->position, value));
  return *this;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(long value) {
  if (this->good()) advance(this->statement.bind(this->position, std::int64_t{value}));
  return *this;
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::step() {
  if (this->fail()) {
    OV_ERROR("step failed");
    return;
  }
  const int result = this->statement.step();
  if (result == SQLITE_DONE) {
    this->statement.reset();
  } else if (isErrorCode(result) || result == SQLITE_ROW) {
    // An output statement must not return rows.
    this->reportFailure(result);
    this->finalize();
  }
  this->position = 1;
}

template class basic_sqlstream<char>;
template class basic_sqlistream<char>;
template class basic_sqlostream<char>;

}  // namespace sqlstl
