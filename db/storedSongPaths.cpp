#include "db/storedSongPaths.h"

#include <orvel/DatabaseMgr.h>

#include "db/SqlTexts.h"
#include "db/sqlite/Connection.h"
#include "db/sqlite/Statement.h"

namespace orvel {

std::vector<std::string> storedSongPaths(const std::string& deviceId) {
  constexpr int kPath = 2;
  std::vector<std::string> paths;
  sqlite::Connection database;
  sqlite::Statement rows;
  const std::string file = DatabaseMgr::instance().getDbNameFromDevId(deviceId);
  if (database.open(file.c_str(), SQLITE_OPEN_READONLY) != SQLITE_OK) return paths;
  if (rows.prepare(database.get(), sql::kSelectAllSongs) != SQLITE_OK) return paths;
  while (rows.step() == SQLITE_ROW) {
    const char* const path = rows.columnText(kPath);
    if (path != nullptr) paths.emplace_back(path);
  }
  return paths;
}

}  // namespace orvel
