#include "msd/StoredFiles.h"

#include <algorithm>
#include <utility>

#include "db/FileInfo.h"
#include "db/ManagerSqlTexts.h"
#include "db/SqlTexts.h"

namespace orvel {

namespace {

/// Changes when another connection commits.
std::optional<int> versionOf(sqlstl::basic_sqlistream<char>& in) {
  int version = 0;
  in.query(sql::kDataVersion);
  in >> version;
  const bool isRead = in.good();
  in.finalize();
  return isRead ? std::optional(version) : std::nullopt;
}

}  // namespace

void StoredFiles::read(sqlstl::basic_sqlistream<char>& in, const std::string& selectSql) {
  version = versionOf(in);
  allRead = readRows(in, selectSql) && (!withPictures || readPictures(in));
}

/// Returns true when it saw every row.
bool StoredFiles::readRows(sqlstl::basic_sqlistream<char>& in, const std::string& selectSql) {
  stored.clear();
  in.query(selectSql.c_str());
  while (in.good()) {
    DbObject row;
    double modified = 0;
    in >> row.id >> modified >> row.path;
    if (!in.good()) break;
    row.lastModified = narrowTime(static_cast<std::int64_t>(modified));
    stored.push_back(std::move(row));
    in.step();
  }
  const bool isAll = in.eof();
  // Outside WAL mode an open SELECT would block this stage's own COMMIT.
  in.finalize();
  return isAll;
}

bool StoredFiles::readPictures(sqlstl::basic_sqlistream<char>& in) {
  std::vector<std::pair<std::int32_t, bool>> pictures;  // sorted: ID is the key of the table
  in.query(sql::kSelectFolderPictures);
  while (in.good()) {
    std::int32_t id = 0;
    int hadPicture = 0;
    in >> id >> hadPicture;
    if (!in.good()) break;
    pictures.emplace_back(id, hadPicture != 0);
    in.step();
  }
  const bool isAll = in.eof();
  in.finalize();
  for (DbObject& row : stored) {
    const auto found = std::lower_bound(pictures.begin(), pictures.end(), std::pair(row.id, false));
    if (found != pictures.end() && found->first == row.id) row.hadFolderPicture = found->second;
  }
  return isAll;
}

void StoredFiles::refresh(sqlstl::basic_sqlistream<char>& in, const std::string& selectSql) {
  if (!allRead || !version || versionOf(in) != version) read(in, selectSql);
}

}  // namespace orvel
