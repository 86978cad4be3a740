#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "db/MetaDataInfo.h"
#include "db/sqlite/Connection.h"

namespace orvel {

/// The identifiers that a request has deleted with its songs and not stored again: only names and
/// playlist entries with one of them may have been left without a song.
///
/// The finder of songs fills it, then the saver of songs empties it, then the pipeline asks it; the
/// blocks that they pass on keep them apart.
class OrphanCandidates {
 public:
  /// Before the request changes anything. The identifiers stay unknown where there may be orphans
  /// already: unless all is complete, or there is nothing.
  void begin(sqlite::Connection& database);

  /// Reads the identifiers of songs that the open transaction is about to delete. They are unknown
  /// afterwards for very many songs and after a failure.
  void take(sqlite::Connection& database, const std::vector<std::int32_t>& songs);

  /// Removes the identifiers of a song that is committed.
  void remove(const MetaDataInfo& song);
  /// Makes them unknown: songs were not committed, or without all their names.
  void forget() { areKnown = false; }

  /// False where they are not known.
  [[nodiscard]] bool areNone() const;

 private:
  bool read(sqlite::Connection& database, std::int32_t song);

  /// Artists, albums, genres, composers, and the songs themselves.
  std::array<std::unordered_set<std::string>, 5> identifiers;
  bool areKnown = false;
};

}  // namespace orvel
