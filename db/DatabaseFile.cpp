#include "db/DatabaseFile.h"

#include <fcntl.h>
#include <orvel/DatabaseMgr.h>
#include <unistd.h>

#include "base/Log.h"
#include "base/Probes.h"
#include "base/StageThread.h"
#include "db/ManagerSqlTexts.h"

namespace orvel {

DatabaseFile::DatabaseFile(const std::string& path, int flags) : file(path) {
  if (connection.open(path.c_str(), flags) != SQLITE_OK) {
    OV_WARN("cannot open database %s: %s", path.c_str(), connection.errorMessage());
    return;
  }
  busyHandler.install(connection, stageThread::isCurrent()
                                      ? std::chrono::milliseconds(kBusyTimeoutMs)
                                      : sqlstl::kHostLockWait);
}

/// A stopped request does nothing more with its database: a newer one may be writing by now.
bool DatabaseFile::isUsable() const {
  return isOpen() && !stageThread::stopToken().stop_requested();
}

bool DatabaseFile::exec(const char* sql) {
  if (!isUsable()) return false;
  if (connection.exec(sql) == SQLITE_OK) return true;
  report(sql);
  return false;
}

bool DatabaseFile::execTransaction(const char* sql) {
  if (exec(sql)) return true;
  if (connection.isInTransaction()) connection.exec(sql::kRollBack);
  return false;
}

bool DatabaseFile::transact(const std::function<bool()>& work) {
  if (!exec(sql::kBeginWrite)) return false;
  if (work() && exec(sql::kCommit)) return true;
  connection.exec(sql::kRollBack);
  return false;
}

bool DatabaseFile::run(const char* sql, std::initializer_list<std::string> parameters) {
  sqlite::Statement statement;
  if (!prepare(sql, parameters, statement)) return false;
  int result = SQLITE_ROW;
  while (result == SQLITE_ROW) result = statement.step();
  if (result == SQLITE_DONE) return true;
  report(sql);
  return false;
}

bool DatabaseFile::overwriteRow(const char* sql, std::initializer_list<std::string> parameters) {
  if (!isOpen()) return false;
  sqlstl::BusyHandler::remove(connection);
  connection.emptyLogOnClose();
  // A power cut during the change can cost the database, which is a cache and then made again.
  const bool changed =
      exec(sql::kWriteInPlace) && run(sql, parameters) && connection.changes() == 1;
  exec(sql::kWriteAhead);
  return changed;
}

void DatabaseFile::checkpoint() {
  if (!isUsable()) return;
  const probes::Span span(probes::Checkpoint{file.c_str()});
  sqlstl::BusyHandler::remove(connection);
  connection.emptyLogOnClose();
  const int result = sqlite3_wal_checkpoint_v2(connection.get(), nullptr,
                                               SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
  if (result == SQLITE_OK) return;
  if (result != SQLITE_BUSY && result != SQLITE_LOCKED) report("checkpoint");
  syncLog();
}

/// The log carries the changes that could not be moved into the database. Unlike the database file
/// it has no locks that closing a descriptor would drop.
void DatabaseFile::syncLog() const {
  const int log = open((file + "-wal").c_str(), O_RDWR | O_CLOEXEC);
  if (log < 0) return;
  fsync(log);
  close(log);
}

std::optional<std::vector<std::string>> DatabaseFile::texts(
    const char* sql, std::initializer_list<std::string> parameters) {
  sqlite::Statement statement;
  if (!prepare(sql, parameters, statement)) return std::nullopt;
  std::vector<std::string> rows;
  int result = statement.step();
  for (; result == SQLITE_ROW; result = statement.step()) {
    const char* text = statement.columnText(0);
    rows.emplace_back(text == nullptr ? "" : text);
  }
  if (result == SQLITE_DONE) return rows;
  report(sql);
  return std::nullopt;
}

bool DatabaseFile::prepare(const char* sql, std::initializer_list<std::string> parameters,
                           sqlite::Statement& statement) {
  if (!isUsable()) return false;
  if (statement.prepare(connection.get(), sql) != SQLITE_OK) {
    report(sql);
    return false;
  }
  int position = 1;
  for (const std::string& text : parameters) statement.bind(position++, text);
  return true;
}

void DatabaseFile::report(const char* sql) const {
  const int code = connection.errorCode();
  if (connection.wasStopped()) return;
  OV_WARN("database %s: %d %s in %.60s", file.c_str(), code, connection.errorMessage(), sql);
  if (code == SQLITE_CORRUPT || code == SQLITE_NOTADB) {
    DatabaseMgr::instance().condemn(file.c_str());
  }
}

}  // namespace orvel
