#include "msd/StoredFiles.h"

#include <utility>

#include "db/FileInfo.h"
#include "db/ManagerSqlTexts.h"

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
  allRead = in.eof();
  // Outside WAL mode an open SELECT would block this stage's own COMMIT.
  in.finalize();
}

void StoredFiles::refresh(sqlstl::basic_sqlistream<char>& in, const std::string& selectSql) {
  if (!allRead || !version || versionOf(in) != version) read(in, selectSql);
}

}  // namespace orvel
