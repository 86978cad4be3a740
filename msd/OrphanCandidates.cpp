#include "msd/OrphanCandidates.h"

#include <algorithm>

#include "db/SqlTexts.h"
#include "db/cleanUp.h"
#include "db/sqlite/Statement.h"

namespace orvel {

namespace {
/// For more songs the clean-up costs little beside reading them.
constexpr std::size_t kMostSongs = 2000;

bool isEmpty(sqlite::Connection& database) {
  sqlite::Statement row;
  return row.prepare(database.get(), sql::kSelectNothingShared) == SQLITE_OK &&
         row.step() == SQLITE_ROW && row.columnInt(0) == 1;
}

}  // namespace

void OrphanCandidates::begin(sqlite::Connection& database) {
  areKnown = isCleanedUp(database) || isEmpty(database);
}

void OrphanCandidates::take(sqlite::Connection& database, const std::vector<std::int32_t>& songs) {
  areKnown = areKnown && songs.size() <= kMostSongs &&
             std::all_of(songs.begin(), songs.end(),
                         [&](std::int32_t song) { return read(database, song); });
}

bool OrphanCandidates::read(sqlite::Connection& database, std::int32_t song) {
  sqlite::Statement row;
  if (row.prepare(database.get(), sql::kSelectSongIdentifiers) != SQLITE_OK ||
      row.bind(1, song) != SQLITE_OK || row.step() != SQLITE_ROW) {
    return false;
  }
  for (std::size_t i = 0; i < identifiers.size(); ++i) {
    const char* const text = row.columnText(static_cast<int>(i));
    if (text == nullptr) return false;
    identifiers[i].emplace(text);
  }
  return true;
}

void OrphanCandidates::remove(const MetaDataInfo& song) {
  identifiers[0].erase(song.artistId.text());
  identifiers[1].erase(song.albumId.text());
  identifiers[2].erase(song.genreId.text());
  identifiers[3].erase(song.composerId.text());
  identifiers[4].erase(song.storedObjectId());
}

bool OrphanCandidates::areNone() const {
  return areKnown && std::all_of(identifiers.begin(), identifiers.end(),
                                 [](const auto& ids) { return ids.empty(); });
}

}  // namespace orvel
