#include "browse/MediaDatabase.h"

#include <orvel/Collation.h>
#include <orvel/Search.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <system_error>

#include "base/GlibText.h"
#include "db/sqlite/Statement.h"

namespace orvel::browse {

namespace {

namespace fs = std::filesystem;

/// For databases that are not in WAL mode, where readers wait for the writer.
constexpr int kWaitForWriterMs = 5000;

/// Stands in for the table that a database of an earlier release lacks.
constexpr char kNoDetails[] =
    "PRAGMA temp_store=MEMORY;"
    "CREATE TEMP TABLE SONGDETAILS(ID INTEGER PRIMARY KEY, DURATION, YEAR, ALBUMARTIST, COVER);";

std::int64_t bytesOf(const std::string& file) {
  std::error_code error;
  const auto size = fs::file_size(file, error);
  return error ? 0 : static_cast<std::int64_t>(size);
}

std::string fileUri(const std::string& path, const char* mode) {
  const GlibText escaped =
      ownGlibText(g_uri_escape_bytes(reinterpret_cast<const guint8*>(path.data()), path.size(),
                                     G_URI_RESERVED_CHARS_ALLOWED_IN_PATH));
  return std::string("file:") + escaped.get() + mode;
}

Cell cellAt(const sqlite::Statement& statement, int column) {
  switch (statement.columnType(column)) {
    case SQLITE_NULL:
      return {};
    case SQLITE_INTEGER:
      return statement.columnInt64(column);
    default: {
      const char* text = statement.columnText(column);
      return std::string_view(text == nullptr ? "" : text, statement.columnBytes(column));
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

constexpr int kFunctionKind = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_DIRECTONLY;

std::string_view textOf(sqlite3_value* value) {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return {text == nullptr ? "" : text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

/// BEGINS(wanted, name, path...): whether the name begins with `wanted` as people compare names, or
/// `wanted` is one of the others.
void begins(sqlite3_context* context, int count, sqlite3_value** values) try {
  const std::string_view wanted = textOf(values[0]);
  bool isMatch = wanted.empty() ? textOf(values[1]).empty()
                                : foldedText(textOf(values[1])).starts_with(foldedText(wanted));
  for (int i = 2; i < count; ++i) isMatch = isMatch || textOf(values[i]) == wanted;
  sqlite3_result_int(context, isMatch ? 1 : 0);
} catch (const std::bad_alloc&) {
  sqlite3_result_error_nomem(context);
}

/// Keeps a connection's view of the database for a scope.
class ReadTransaction {
 public:
  explicit ReadTransaction(const sqlite::Connection& viewing) : connection(viewing) {
    run("BEGIN;");
  }
  ~ReadTransaction() { run("COMMIT;"); }
  ReadTransaction(const ReadTransaction&) = delete;
  ReadTransaction& operator=(const ReadTransaction&) = delete;

 private:
  void run(const char* sql) { sqlite3_exec(connection.get(), sql, nullptr, nullptr, nullptr); }

  const sqlite::Connection& connection;
};

}  // namespace

MediaDatabase::MediaDatabase(const std::string& file) : path(file) {
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) {
    throw DatabaseError("There is no database " + path + ". Run 'orvel index' first.");
  }
  if (open(fileUri(path, "?mode=ro"))) return;
  // To read a database in WAL mode, SQLite creates an index of the log. Where the folder is
  // read-only that fails; with an empty log nobody is writing, and the file can be read as it is.
  const int error = connection.errorCode();
  const bool isUnchanging =
      (error == SQLITE_CANTOPEN || error == SQLITE_READONLY) && bytesOf(path + "-wal") == 0;
  if (isUnchanging && open(fileUri(path, "?mode=ro&immutable=1"))) return;
  fail();
}

bool MediaDatabase::open(const std::string& uri) {
  if (connection.open(uri.c_str(), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX) !=
      SQLITE_OK) {
    return false;
  }
  sqlite3* const handle = connection.get();
  sqlite3_busy_timeout(handle, kWaitForWriterMs);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  return sqlite3_create_collation(handle, "UTF8", SQLITE_UTF8, nullptr, collation_utf8) ==
             SQLITE_OK &&
         sqlite3_create_function(handle, "BEGINS", -1, kFunctionKind, nullptr, begins, nullptr,
                                 nullptr) == SQLITE_OK &&
         connection.exec("SELECT 1 FROM SONGS, PARTITIONS LIMIT 1;") == SQLITE_OK &&
         (connection.exec("SELECT 1 FROM SONGDETAILS LIMIT 1;") == SQLITE_OK ||
          connection.exec(kNoDetails) == SQLITE_OK);
}

void MediaDatabase::query(const std::string& sql, const std::vector<std::string>& parameters,
                          const RowReceiver& receive) const {
  sqlite::Statement statement;
  if (statement.prepare(connection.get(), sql.c_str()) != SQLITE_OK) fail();
  int position = 1;
  for (const std::string& text : parameters) statement.bind(position++, text);
  Row row(static_cast<std::size_t>(statement.columnCount()));
  int result = statement.step();
  for (; result == SQLITE_ROW; result = statement.step()) {
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = cellAt(statement, static_cast<int>(i));
    if (!receive(row)) return;
  }
  if (result != SQLITE_DONE) fail();
}

void MediaDatabase::atOneMoment(const std::function<void()>& work) const {
  const ReadTransaction transaction(connection);
  work();
}

Search::Result MediaDatabase::search(std::string_view words, const std::vector<Search::Kind>& kinds,
                                     std::size_t offset, std::size_t count) const try {
  if (searcher == nullptr) searcher = std::make_unique<Search>(connection.get());
  return searcher->find(words, kinds, offset, count);
} catch (const std::runtime_error& error) {
  throw DatabaseError(std::string(error.what()) + " Index the device again.");
}

void MediaDatabase::freeMemory() const {
  if (searcher != nullptr) searcher->freeMemory();
  sqlite3_db_release_memory(connection.get());
}

void MediaDatabase::fail() const {
  throw DatabaseError("Cannot read the database " + path + " (" + connection.errorMessage() +
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
        return true;
      });
  return totals;
}

std::vector<StoredPartition> MediaDatabase::partitions() const {
  std::vector<StoredPartition> partitions;
  query("SELECT MOUNTPOINT, STATUS FROM PARTITIONS ORDER BY MOUNTPOINT COLLATE UTF8;", {},
        [&](const Row& row) {
          partitions.push_back({textOf(row[0]), textOf(row[1])});
          return true;
        });
  return partitions;
}

std::string MediaDatabase::deviceId() const {
  // The root folder's parent is the device. A stick's root is the partition itself; a phone's has
  // an empty path.
  std::string device;
  query("SELECT PARENT_ID FROM DIRECTORIES WHERE OBJECTID = PARTITION_ID OR PATH = '' LIMIT 1;", {},
        [&](const Row& row) {
          device = textOf(row[0]);
          return false;
        });
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
    throw DatabaseError("Cannot read the database folder " + folder + " (" + error.message() +
                        "). Name another with --db-dir.");
  }
  std::sort(databases.begin(), databases.end());
  return databases;
}

}  // namespace orvel::browse
