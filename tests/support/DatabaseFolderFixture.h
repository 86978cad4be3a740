#pragma once

#include <gtest/gtest.h>
#include <orvel/DatabaseMgr.h>

#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/rows.h"

namespace orvel::test {

/// A test whose databases lie in a folder of its own, `temporary.path("db")`, not yet created.
class DatabaseFolderFixture : public testing::Test {
 protected:
  DatabaseFolderFixture();

  /// The database file of a device.
  static std::string databaseOf(const std::string& deviceId);
  /// The result of `rows` on the database of a device.
  static std::vector<std::string> rowsOf(const std::string& deviceId, const std::string& sql);

  TemporaryFolder temporary;
  DatabaseMgr& manager = DatabaseMgr::instance();
};

}  // namespace orvel::test
