#include "db/DatabaseFile.h"

#include <fcntl.h>
#include <orvel/DatabaseMgr.h>
#include <unistd.h>

#include "base/Log.h"
#include "base/StageThread.h"
#include "db/SqlStream.h"

namespace orvel {

namespace {
/// The host's thread draws the rear-view camera's menu: it must not wait long for a lock.
constexpr int kHostWaitMs = 900;
}  // namespace

DatabaseFile::DatabaseFile(const std::string& path, int flags) : file(path) {
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
  connection.reset(opened);
  if (result != SQLITE_OK) {
    OV_WARN("cannot open database %s: %s", path.c_str(), sqlite3_errstr(result));
    connection.reset();
    return;
  }
  busyHandler.install(opened, stageThread::isCurrent() ? kBusyTimeoutMs : kHostWaitMs);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DQS_DML, 1, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
}

bool DatabaseFile::exec(const char* sql) {
  if (!isOpen()) return false;
  if (sqlite3_exec(connection.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK) return true;
  report(sql);
  return false;
}

bool DatabaseFile::run(const char* sql, std::initializer_list<std::string> parameters) {
  const Statement statement = prepare(sql, parameters);
  if (!statement) return false;
  int result = SQLITE_ROW;
  while (result == SQLITE_ROW) result = sqlite3_step(statement.get());
  if (result == SQLITE_DONE) return true;
  report(sql);
  return false;
}

bool DatabaseFile::runInPlace(const char* sql, std::initializer_list<std::string> parameters) {
  if (!isOpen()) return false;
  sqlite3_busy_handler(connection.get(), nullptr, nullptr);
  // In exclusive mode the index of the log is no file, and with its journal in memory a change
  // overwrites its page. A power cut in between can cost the database, which is then made anew.
  const bool done =
      exec("PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=MEMORY;") && run(sql, parameters);
  exec("PRAGMA journal_mode=WAL;");
  return done;
}

void DatabaseFile::checkpoint() {
  if (!isOpen()) return;
  sqlite3_busy_handler(connection.get(), nullptr, nullptr);
  const int result = sqlite3_wal_checkpoint_v2(connection.get(), nullptr,
                                               SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
  if (result == SQLITE_OK) return;
  if (result != SQLITE_BUSY && result != SQLITE_LOCKED) report("checkpoint");
  // The log carries what could not be moved into the database. Unlike the database file it has no
  // locks that closing a descriptor of it would drop.
  const int log = open((file + "-wal").c_str(), O_RDWR | O_CLOEXEC);
  if (log < 0) return;
  fsync(log);
  close(log);
}

std::optional<std::vector<std::string>> DatabaseFile::texts(
    const char* sql, std::initializer_list<std::string> parameters) {
  const Statement statement = prepare(sql, parameters);
  if (!statement) return std::nullopt;
  std::vector<std::string> rows;
  int result = sqlite3_step(statement.get());
  for (; result == SQLITE_ROW; result = sqlite3_step(statement.get())) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
    rows.emplace_back(text == nullptr ? "" : text);
  }
  if (result == SQLITE_DONE) return rows;
  report(sql);
  return std::nullopt;
}

DatabaseFile::Statement DatabaseFile::prepare(const char* sql,
                                              std::initializer_list<std::string> parameters) {
  if (!isOpen()) return {};
  sqlite3_stmt* prepared = nullptr;
  const int result = sqlite3_prepare_v2(connection.get(), sql, -1, &prepared, nullptr);
  Statement statement(prepared);
  if (result != SQLITE_OK) {
    report(sql);
    return {};
  }
  int position = 1;
  for (const std::string& text : parameters) {
    sqlite3_bind_text(prepared, position++, text.data(), static_cast<int>(text.size()),
                      SQLITE_TRANSIENT);
  }
  return statement;
}

void DatabaseFile::report(const char* sql) const {
  const int code = sqlite3_errcode(connection.get());
  OV_WARN("database %s: %d %s in %.60s", file.c_str(), code, sqlite3_errmsg(connection.get()), sql);
  if (code == SQLITE_CORRUPT || code == SQLITE_NOTADB) {
    DatabaseMgr::instance().condemn(file.c_str());
  }
}

}  // namespace orvel
