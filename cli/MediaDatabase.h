#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace orvel::cli {

/// How many rows of each kind a database has.
struct Totals {
  std::int64_t songs = 0;
  std::int64_t artists = 0;
  std::int64_t albums = 0;
  std::int64_t genres = 0;
  std::int64_t composers = 0;
  std::int64_t directories = 0;
  std::int64_t playlists = 0;
};

/// A partition that a database knows.
struct StoredPartition {
  std::string mountPoint;
  std::string status;  ///< "OK", "PROGRESS" or empty
};

/// One value of a row: NULL, a number, or a text that is valid until the next row.
using Cell = std::variant<std::monostate, std::int64_t, std::string_view>;
using Row = std::vector<Cell>;

/// A device's database, read while an indexer may be writing it. Failures are CommandErrors.
class MediaDatabase {
 public:
  /// Opens `file` read-only; throws when it is absent or not a database of this version.
  explicit MediaDatabase(const std::string& file);

  /// Calls `receive` with each row of a statement with text parameters.
  void query(const std::string& sql, const std::vector<std::string>& parameters,
             const std::function<void(const Row&)>& receive) const;

  [[nodiscard]] Totals totals() const;
  [[nodiscard]] std::vector<StoredPartition> partitions() const;
  /// The device's name where a folder tells it, else empty.
  [[nodiscard]] std::string deviceId() const;

 private:
  struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close(connection); }
  };
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

  bool open(const std::string& uri);
  [[nodiscard]] bool isReadable() const;
  [[nodiscard]] Statement prepare(const std::string& sql,
                                  const std::vector<std::string>& parameters) const;
  [[noreturn]] void fail() const;

  std::string path;
  std::unique_ptr<sqlite3, Close> connection;
};

/// The bytes of a database with what its journal still holds; 0 when there is none.
std::int64_t databaseBytes(const std::string& file);

/// The databases in a folder, sorted by name. Throws CommandError when the folder is there but
/// cannot be read.
std::vector<std::string> databasesIn(const std::string& folder);

}  // namespace orvel::cli
