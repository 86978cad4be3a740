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

TEST_F(DamagedDatabase, IsReplacedOnceWithOneWarning) {
  EXPECT_EQ(replacements(), 0U);
  EXPECT_THAT(songs(), ElementsAre("2000"));
  const std::function<void()> damages[] = {
      [&] {
        std::ofstream(databaseOf("dev"))
            << "this is no database, but long enough to be read" << std::string(4096, ' ');
      },
      [&] { overwrite(0, 100); },
      [&] { overwrite(100, 3000); },
      [&] { fs::resize_file(databaseOf("dev"), 700); },
      [&] { fs::resize_file(databaseOf("dev"), 4096); },
      [&] { rowsOf("dev", "PRAGMA user_version=2;"); },
      [&] { rowsOf("dev", "PRAGMA user_version=0;"); },
      [&] { rowsOf("dev", "ALTER TABLE SONGS DROP COLUMN BOOKMARK;"); },
      [&] {
        rowsOf("dev", "CREATE TRIGGER T AFTER INSERT ON SONGS BEGIN DELETE FROM SONGS; END;");
      },
  };
  for (std::size_t i = 0; i < std::size(damages); ++i) {
    damages[i]();
    EXPECT_EQ(replacements(), 1U) << "damage " << i;
    EXPECT_EQ(replacements(), 0U) << "damage " << i;
    EXPECT_EQ(manager.getStatus("dev", "/m"), "") << "damage " << i;
    rowsOf("dev", "INSERT INTO SONGS(PATH, OBJECTID) VALUES('p', 'o');");
    EXPECT_THAT(songs(), ElementsAre("1")) << "damage " << i;
  }
  std::ofstream(databaseOf("dev"), std::ios::trunc).close();
  EXPECT_EQ(replacements(), 0U) << "an empty file is a database that was never filled";
  EXPECT_THAT(songs(), ElementsAre("0"));
}

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

TEST_F(DamagedDatabase, OpeningCreatesAMissingSchemaAndLeavesAForeignOneAlone) {
  sqlstl::basic_sqlostream<char> out;
  EXPECT_TRUE(manager.open("fresh", out, 1000));
  out.exec("INSERT INTO SONGS(PATH, OBJECTID) VALUES('p', 'o');");
  EXPECT_TRUE(out.good());
  rows(databaseOf("foreign"), "CREATE TABLE THEIRS(A);");
  EXPECT_TRUE(manager.open("foreign", out, 1000));
  EXPECT_THAT(rowsOf("foreign", "SELECT name FROM sqlite_schema;"), ElementsAre("THEIRS"));
}

TEST_F(DamagedDatabase, WhatCannotBeOpenedIsOneLineAndOnlyOpenThrows) {
  const std::string blocked = databaseOf("blocked");
  fs::create_directory(blocked);
  const std::string file = temporary.file("file");
  for (const std::string& folder : {manager.directory(), file + "/below"}) {
    manager.setDirectory(folder);
    LogCapture log;
    manager.createDb("blocked", "/m", true);
    EXPECT_FALSE(log.lines().empty());
    log.clear();
    manager.insertStatus("blocked", "/m", "OK");
    EXPECT_THAT(log.texts(), SizeIs(1));
    EXPECT_EQ(manager.getStatus("blocked", "/m"), "");
    manager.removeDanglingPartitions("blocked", "/m");
    manager.sync("blocked");
    manager.checkAndDelete("blocked", 1 << 30);
    manager.deleteDb("blocked");
    sqlstl::basic_sqlistream<char> in;
    try {
      manager.open("blocked", in, 1000);
      ADD_FAILURE() << folder;
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "cannot open db");
    }
    EXPECT_EQ(log.levelOf("error opening db: " + databaseOf("blocked")), LogLevel::Warning);
    EXPECT_TRUE(in.bad() && in.handle() == nullptr);
  }
  EXPECT_TRUE(fs::is_directory(blocked));
}

}  // namespace
}  // namespace orvel::test
