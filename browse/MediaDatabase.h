#pragma once

#include <orvel/Search.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "db/sqlite/Connection.h"

namespace orvel::browse {

/// A database that cannot be read; the text names it and the remedy.
class DatabaseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The number of rows of each kind in a database.
struct Totals {
  std::int64_t songs = 0;
  std::int64_t artists = 0;
  std::int64_t albums = 0;
  std::int64_t genres = 0;
  std::int64_t composers = 0;
  std::int64_t directories = 0;
  std::int64_t playlists = 0;
};

/// A partition that was indexed into a database.
struct StoredPartition {
  std::string mountPoint;
  std::string status;  ///< "OK", "PROGRESS" or empty
};

/// One value of a row: NULL, a number, or a text that is valid until the next row.
using Cell = std::variant<std::monostate, std::int64_t, std::string_view>;
using Row = std::vector<Cell>;
/// Receives a row; false ends the query.
using RowReceiver = std::function<bool(const Row&)>;

/// A device's database, which an indexer may be writing at the same time. Failures are
/// DatabaseErrors. Belongs to one thread.
class MediaDatabase {
 public:
  /// Opens `file` read-only; throws when it is absent or not a database of this version.
  explicit MediaDatabase(const std::string& file);

  /// Runs one statement with text parameters and calls `receive` with each row, until it returns
  /// false.
  void query(const std::string& sql, const std::vector<std::string>& parameters,
             const RowReceiver& receive) const;

  /// Runs `work`, whose queries all see the database as it is at one moment.
  void atOneMoment(const std::function<void()>& work) const;

  /// Finds names and songs, as `Search::find` does. The texts stay in memory.
  Search::Result search(std::string_view words, const std::vector<Search::Kind>& kinds,
                        std::size_t offset, std::size_t count) const;

  /// Empties the caches.
  void freeMemory() const;

  [[nodiscard]] Totals totals() const;
  [[nodiscard]] std::vector<StoredPartition> partitions() const;
  /// The device's id, taken from its root folder; empty while none is stored.
  [[nodiscard]] std::string deviceId() const;

 private:
  /// False when the database cannot be opened or lacks the indexer's tables.
  bool open(const std::string& uri);
  /// Throws CommandError with SQLite's message.
  [[noreturn]] void fail() const;

  std::string path;
  sqlite::Connection connection;
  mutable std::unique_ptr<Search> searcher;  ///< from the first search on; before `connection` goes
};

/// The bytes of a database and its write-ahead log; 0 when there is none.
std::int64_t databaseBytes(const std::string& file);

/// The databases in a folder, sorted by name. Throws DatabaseError for an existing folder that
/// cannot be read.
std::vector<std::string> databasesIn(const std::string& folder);

}  // namespace orvel::browse
