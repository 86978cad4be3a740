#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "db/DatabaseLease.h"
#include "db/SqlStream.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::SizeIs;

constexpr char kMadeAnew[] = "is damaged or not a database of this version";

class DamagedDatabase : public DatabaseFolderFixture {
 protected:
  DamagedDatabase() {
    manager.createDb("dev", "/m", true);
    manager.insertStatus("dev", "/m", "OK");
    rowsOf("dev",
           "WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I + 1 FROM N WHERE I < 2000) INSERT"
           " INTO SONGS(PATH, OBJECTID) SELECT '/m/' || I, I FROM N;");
    manager.sync("dev");
  }

  void overwrite(std::streamoff from, std::size_t bytes) {
    std::fstream out(databaseOf("dev"), std::ios::in | std::ios::out | std::ios::binary);
    out.seekp(from);
    out << std::string(bytes, '\x5A');
  }

  /// How many warnings of a replacement a request for the device logs.
  std::size_t replacements() {
    const LogCapture log;
    manager.createDb("dev", "/m", true);
    return log.texts(kMadeAnew).size();
  }

  std::vector<std::string> songs() { return rowsOf("dev", "SELECT COUNT(*) FROM SONGS;"); }
};

TEST_F(DamagedDatabase, WaitsUntilNoRequestUsesIt) {
  auto lease = std::make_unique<DatabaseMgr::Lease>("dev", "/other");
  rowsOf("dev", "PRAGMA user_version=9;");
  EXPECT_EQ(replacements(), 0U);
  EXPECT_TRUE(manager.isCondemned("dev"));
  EXPECT_THAT(rowsOf("dev", "PRAGMA user_version; SELECT COUNT(*) FROM SONGS;"),
              ElementsAre("9", "2000"));
  lease.reset();
  EXPECT_EQ(replacements(), 1U);
  EXPECT_FALSE(manager.isCondemned("dev"));
  EXPECT_THAT(songs(), ElementsAre("0"));
}

TEST_F(DamagedDatabase, IsCondemnedByTheStreamThatMeetsTheDamage) {
  const auto bytes = static_cast<std::streamoff>(fs::file_size(databaseOf("dev")));
  // The tables' first pages stay sound.
  overwrite(bytes / 2, static_cast<std::size_t>(bytes - bytes / 2));
  EXPECT_FALSE(manager.isCondemned("dev"));
  {
    sqlstl::basic_sqlistream<char> in;
    manager.open("dev", in, 1000);
    in.query("SELECT PATH FROM SONGS;");
    std::string path;
    for (; in.good() && (in >> path); in.step()) {
    }
    EXPECT_TRUE(in.bad());
  }
  EXPECT_TRUE(manager.isCondemned("dev"));
  EXPECT_EQ(replacements(), 1U);
  EXPECT_THAT(songs(), ElementsAre("0"));
}

}  // namespace
}  // namespace orvel::test
