#include "cli/MediaDatabase.h"

#include <QUrl>
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "cli/ExitStatus.h"
#include "db/Collation.h"

namespace orvel::cli {

namespace {

namespace fs = std::filesystem;

/// A database that is not in WAL mode keeps its readers waiting while it is written.
constexpr int kWaitForWriterMs = 5000;

std::int64_t bytesOf(const std::string& file) {
  std::error_code error;
  const auto size = fs::file_size(file, error);
  return error ? 0 : static_cast<std::int64_t>(size);
}

std::string fileUri(const std::string& path, const char* mode) {
  return "file:" + QByteArray::fromStdString(path).toPercentEncoding("/").toStdString() + mode;
}

Cell cellAt(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
      return {};
    case SQLITE_INTEGER:
      return std::int64_t{sqlite3_column_int64(statement, column)};
    default: {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
      const int bytes = sqlite3_column_bytes(statement, column);
      return std::string_view(text == nullptr ? "" : text, static_cast<std::size_t>(bytes));
    }
  }
}

std::string textOf(const Cell& cell) {
  const auto* text = std::get_if<std::string_view>(&cell);
  return text == nullptr ? "" : std::string(*text);
}

std::int64_t numberOf(const Cell& cell) {
  const auto* number = std::get_if<std::int64_t>(&cell);
  return number == nullptr ? 0 : *number;
}

}  // namespace

MediaDatabase::MediaDatabase(const std::string& file) : path(file) {
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) {
    throw CommandError(CouldNotRun, "There is no database " + path + ". Run 'orvel index' first.");
  }
  if (open(fileUri(path, "?mode=ro")) && isReadable()) return;
  // Reading makes an index of the journal. Where the folder does not take one, and the journal
  // holds nothing, nobody is writing.
  const int error = sqlite3_errcode(connection.get());
  const bool isFixed =
      (error == SQLITE_CANTOPEN || error == SQLITE_READONLY) && bytesOf(path + "-wal") == 0;
  if (isFixed && open(fileUri(path, "?mode=ro&immutable=1")) && isReadable()) return;
  fail();
}

bool MediaDatabase::open(const std::string& uri) {
  sqlite3* opened = nullptr;
  const int result =
      sqlite3_open_v2(uri.c_str(), &opened, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
  connection.reset(opened);
  if (result != SQLITE_OK) return false;
  sqlite3_busy_timeout(opened, kWaitForWriterMs);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  return sqlite3_create_collation(opened, "UTF8", SQLITE_UTF8, nullptr, collation_utf8) ==
         SQLITE_OK;
}

bool MediaDatabase::isReadable() const {
  return sqlite3_exec(connection.get(), "SELECT 1 FROM SONGS, PARTITIONS LIMIT 1;", nullptr,
                      nullptr, nullptr) == SQLITE_OK;
}

MediaDatabase::Statement MediaDatabase::prepare(const std::string& sql,
                                                const std::vector<std::string>& parameters) const {
  sqlite3_stmt* prepared = nullptr;
  const int result = sqlite3_prepare_v2(connection.get(), sql.c_str(), -1, &prepared, nullptr);
  Statement statement(prepared);
  if (result != SQLITE_OK) fail();
  int position = 1;
  for (const std::string& text : parameters) {
    sqlite3_bind_text(prepared, position++, text.data(), static_cast<int>(text.size()),
                      SQLITE_TRANSIENT);
  }
  return statement;
}

void MediaDatabase::query(const std::string& sql, const std::vector<std::string>& parameters,
                          const std::function<void(const Row&)>& receive) const {
  const Statement statement = prepare(sql, parameters);
  Row row(static_cast<std::size_t>(sqlite3_column_count(statement.get())));
  int result = sqlite3_step(statement.get());
  for (; result == SQLITE_ROW; result = sqlite3_step(statement.get())) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      row[i] = cellAt(statement.get(), static_cast<int>(i));
    }
    receive(row);
  }
  if (result != SQLITE_DONE) fail();
}

void MediaDatabase::fail() const {
  throw CommandError(CouldNotRun, "Cannot read the database " + path + " (" +
                                      sqlite3_errmsg(connection.get()) +
                                      "). Index the device again, or name another database.");
}

Totals MediaDatabase::totals() const {
  Totals totals;
  query(
      "SELECT (SELECT COUNT(*) FROM SONGS), (SELECT COUNT(*) FROM ARTISTS),"
      " (SELECT COUNT(*) FROM ALBUMS), (SELECT COUNT(*) FROM GENRES),"
      " (SELECT COUNT(*) FROM COMPOSERS), (SELECT COUNT(*) FROM DIRECTORIES),"
      " (SELECT COUNT(DISTINCT PLAYID) FROM PLAYLISTS);",
      {}, [&](const Row& row) {
        totals = {numberOf(row[0]), numberOf(row[1]), numberOf(row[2]), numberOf(row[3]),
                  numberOf(row[4]), numberOf(row[5]), numberOf(row[6])};
      });
  return totals;
}

std::vector<StoredPartition> MediaDatabase::partitions() const {
  std::vector<StoredPartition> partitions;
  query("SELECT MOUNTPOINT, STATUS FROM PARTITIONS ORDER BY MOUNTPOINT COLLATE UTF8;", {},
        [&](const Row& row) {
          partitions.push_back({textOf(row[0]), textOf(row[1])});
        });
  return partitions;
}

std::string MediaDatabase::deviceId() const {
  // The parent of a root is the device: of a stick's partition, or of a phone, whose path is empty.
  std::string device;
  query("SELECT PARENT_ID FROM DIRECTORIES WHERE OBJECTID = PARTITION_ID OR PATH = '' LIMIT 1;", {},
        [&](const Row& row) { device = textOf(row[0]); });
  return device;
}

std::int64_t databaseBytes(const std::string& file) {
  return bytesOf(file) + bytesOf(file + "-wal");
}

std::vector<std::string> databasesIn(const std::string& folder) {
  std::vector<std::string> databases;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    if (entry->path().extension() != ".db" || !entry->is_regular_file(ignored)) continue;
    databases.push_back(entry->path().string());
  }
  if (error && error != std::errc::no_such_file_or_directory) {
    throw CommandError(CouldNotRun, "Cannot read the database folder " + folder + " (" +
                                        error.message() + "). Name another with --db-dir.");
  }
  std::sort(databases.begin(), databases.end());
  return databases;
}

}  // namespace orvel::cli
