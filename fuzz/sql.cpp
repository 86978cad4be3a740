#include <orvel/DatabaseMgr.h>
#include <sqlite3.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "db/SqlStream.h"
#include "db/SqlTexts.h"
#include "fuzz/InputBytes.h"
#include "fuzz/require.h"
#include "tests/support/TemporaryFolder.h"

namespace orvel::fuzz {
namespace {

using Rows = std::vector<std::string>;

/// The actions of a statement, as SQLite's authorizer names them.
using Actions = std::set<std::tuple<int, std::string, std::string>>;

int note(void* actions, int code, const char* first, const char* second, const char* /*database*/,
         const char* /*trigger*/) {
  static_cast<Actions*>(actions)->emplace(code, first == nullptr ? "" : first,
                                          second == nullptr ? "" : second);
  return SQLITE_OK;
}

/// A device's database with one connection to read and one to write, as the stages have them.
class Database {
 public:
  static Database& instance() {
    static Database database;
    return database;
  }

  Rows select(const char* sql, const std::string& prefix, const char* tail) {
    in.query(sql::withPathPattern(sql, prefix, tail).c_str());
    Rows rows;
    for (std::string first; in.good() && (in >> first); in.step()) rows.push_back(first);
    wasRefused = in.bad();
    in.finalize();
    return rows;
  }
  void execute(const std::string& sql) {
    out.clear();
    out.exec(sql.c_str());
    wasRefused = out.bad();
  }
  void insertDirectory(const std::string& path, const std::string& id) {
    out.query(sql::kInsertDirectory);
    out << "p" << path << "n" << id << "r" << sqlstl::step;
    out.finalize();
  }
  [[nodiscard]] bool refused() const { return wasRefused; }

  /// Returns the first column of the rows of `sql` with `text` bound, on the writing connection.
  Rows bound(const std::string& sql, const std::string& text) {
    Rows rows;
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(out.handle(), sql.c_str(), -1, &statement, nullptr);
    if (statement == nullptr) throw std::runtime_error(sqlite3_errmsg(out.handle()));
    if (sqlite3_bind_parameter_count(statement) > 0) {
      sqlite3_bind_text(statement, 1, text.c_str(), -1, SQLITE_TRANSIENT);
    }
    while (sqlite3_step(statement) == SQLITE_ROW) {
      rows.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
    }
    sqlite3_finalize(statement);
    return rows;
  }
  /// The actions of both connections since the last call.
  Actions takeActions() { return std::exchange(actions, {}); }

 private:
  Database() {
    DatabaseMgr& manager = DatabaseMgr::instance();
    setLogThreshold(LogLevel{0});  // every refused text is an error
    manager.setDirectory(folder.path("db"));
    manager.createDb("dev", "/m", true);
    manager.open("dev", in, 1000);
    manager.open("dev", out, 1000);
    sqlite3_set_authorizer(in.handle(), note, &actions);
    sqlite3_set_authorizer(out.handle(), note, &actions);
  }

  test::TemporaryFolder folder;
  Actions actions;
  sqlstl::basic_sqlistream<char> in;
  sqlstl::basic_sqlostream<char> out;
  bool wasRefused = false;
};

constexpr char kEverything[] = "SELECT PATH || OBJECTID FROM DIRECTORIES ORDER BY ROWID;";

/// The text that a connection sees: it ends at a NUL.
std::string cString(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

/// The pattern stands in double quotes, so one of these in a prefix matches any character.
std::string asPattern(std::string prefix) {
  std::replace(prefix.begin(), prefix.end(), '"', '_');
  return prefix;
}

/// A statement treats `prefix` like a harmless one, or is refused.
void checkSelect(const char* sql, const std::string& prefix, const char* tail = ";") {
  Database& database = Database::instance();
  database.takeActions();
  database.select(sql, "/m", tail);
  const Actions harmless = database.takeActions();
  const Rows rows = database.select(sql, prefix, tail);
  const Actions taken = database.takeActions();
  require(std::includes(harmless.begin(), harmless.end(), taken.begin(), taken.end()),
          "a prefix never adds to what a text does");
  if (database.refused()) {
    require(rows.empty(), "a refused text gives no rows");
    return;
  }
  require(rows == database.bound(std::string(sql) + "? || '%'" + tail, asPattern(prefix)),
          "a text matches what lies below its prefix");
}

void checkDelete(const std::string& prefix) {
  Database& database = Database::instance();
  database.takeActions();
  database.execute(sql::withPathPattern(sql::kDeleteDirectories, "/n"));
  const Actions harmless = database.takeActions();
  const Rows before = database.bound(kEverything, "");
  const Rows doomed = database.bound(
      std::string(sql::kSelectDirectoryIds) + "? || '%' ORDER BY ROWID;", asPattern(prefix));
  database.takeActions();
  database.execute(sql::withPathPattern(sql::kDeleteDirectories, prefix));
  const Actions taken = database.takeActions();
  require(std::includes(harmless.begin(), harmless.end(), taken.begin(), taken.end()),
          "a prefix never adds to what a text does");
  const std::size_t left = database.bound(kEverything, "").size();
  require(left == before.size() - (database.refused() ? 0 : doomed.size()),
          "only what lies below the prefix is deleted");
}

}  // namespace
}  // namespace orvel::fuzz

/// Takes hostile mount points and paths through the SQL texts. The input is lines: the mount point
/// and paths of directories that are stored.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvel;
  using namespace orvel::fuzz;
  InputBytes input(data, size);
  const std::string prefix = cString(input.line());
  Database& database = Database::instance();
  database.execute(sql::kBeginTransaction);
  Rows stored;
  for (int id = 0; id < 8 && !input.empty(); ++id) {
    const std::string path = cString(input.line());
    database.insertDirectory(path, std::to_string(id));
    stored.push_back(path + std::to_string(id));
  }
  require(database.bound(kEverything, "") == stored, "a path is stored as it is");
  checkDelete(prefix);
  database.execute("ROLLBACK;");
  require(!database.refused() && database.bound(kEverything, "").empty(),
          "no text ends the transaction");
  checkSelect(sql::kSelectDirectoryIds, prefix, sql::kOrderByObjectId);
  checkSelect(sql::kSelectSongs, prefix);
  checkSelect(sql::kSelectPlaylists, prefix);
  return 0;
}
