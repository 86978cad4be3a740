#include "db/sqlite/Statement.h"

namespace orvel::sqlite {

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

int Statement::prepare(sqlite3* connection, const char* sql) {
  finalize();
  sqlite3_stmt* prepared = nullptr;
  const int result = sqlite3_prepare_v2(connection, sql, -1, &prepared, nullptr);
  handle.reset(prepared);
  return result;
}

void Statement::finalize() {
  handle.reset();
}

int Statement::bind(int parameter, std::string_view text) {
  return sqlite3_bind_text(handle.get(), parameter, text.data(), static_cast<int>(text.size()),
                           SQLITE_TRANSIENT);
}

int Statement::bindNoCopy(int parameter, std::string_view text) {
  return sqlite3_bind_text(handle.get(), parameter, text.data(), static_cast<int>(text.size()),
                           SQLITE_STATIC);
}

int Statement::bind(int parameter, int value) {
  return sqlite3_bind_int(handle.get(), parameter, value);
}

int Statement::bind(int parameter, std::int64_t value) {
  return sqlite3_bind_int64(handle.get(), parameter, value);
}

int Statement::step() {
  return sqlite3_step(handle.get());
}

void Statement::reset() {
  sqlite3_reset(handle.get());
}

int Statement::columnCount() const {
  return sqlite3_column_count(handle.get());
}

int Statement::columnType(int column) const {
  return sqlite3_column_type(handle.get(), column);
}

const char* Statement::columnText(int column) const {
  return reinterpret_cast<const char*>(sqlite3_column_text(handle.get(), column));
}

std::size_t Statement::columnBytes(int column) const {
  return static_cast<std::size_t>(sqlite3_column_bytes(handle.get(), column));
}

int Statement::columnInt(int column) const {
  return sqlite3_column_int(handle.get(), column);
}

std::int64_t Statement::columnInt64(int column) const {
  return sqlite3_column_int64(handle.get(), column);
}

double Statement::columnDouble(int column) const {
  return sqlite3_column_double(handle.get(), column);
}

}  // namespace orvel::sqlite
