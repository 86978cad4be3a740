#include "tests/support/DatabaseFolderFixture.h"

namespace orvel::test {

DatabaseFolderFixture::DatabaseFolderFixture() {
  manager.setDirectory(temporary.path("db"));
}

std::string DatabaseFolderFixture::databaseOf(const std::string& deviceId) {
  return DatabaseMgr::instance().getDbNameFromDevId(deviceId);
}

std::vector<std::string> DatabaseFolderFixture::rowsOf(const std::string& deviceId,
                                                       const std::string& sql) {
  return rows(databaseOf(deviceId), sql);
}

}  // namespace orvel::test
