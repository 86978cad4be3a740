#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

using HostReaderTest = IndexerHost;

/// A head unit shows a list, with its cursor open, while the device is indexed again.
TEST_F(HostReaderTest, AnOpenCursorNeitherBlocksTheIndexerNorSeesItsChanges) {
  for (int i = 0; i < 20; ++i) writeSong(stick + "/" + std::to_string(i) + ".mp3", {"old", "X"});
  index("dev1", stick);
  sqlite3* reader = nullptr;
  ASSERT_EQ(sqlite3_open_v2(databaseOf("dev1").c_str(), &reader, SQLITE_OPEN_READONLY, nullptr),
            SQLITE_OK);
  sqlite3_stmt* cursor = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(reader, "SELECT TITLE FROM SONGS", -1, &cursor, nullptr), SQLITE_OK);
  ASSERT_EQ(sqlite3_step(cursor), SQLITE_ROW);

  for (int i = 0; i < 20; ++i) writeSong(stick + "/" + std::to_string(i) + ".mp3", {"new", "Y"});
  for (int i = 0; i < 20; ++i) temporary.touch("stick/" + std::to_string(i) + ".mp3", 1000 + i);
  index("dev1", stick);
  EXPECT_EQ(manager.getStatus("dev1", stick), "OK");

  int seen = 1;
  for (; sqlite3_step(cursor) == SQLITE_ROW; ++seen) {
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(cursor, 0)), "old");
  }
  EXPECT_EQ(seen, 20);
  sqlite3_finalize(cursor);
  sqlite3_close(reader);
  EXPECT_EQ(rowsOf("dev1", "SELECT DISTINCT TITLE FROM SONGS"), std::vector<std::string>{"new"});
}

TEST_F(HostReaderTest, SongsAreReadableBeforeTheRequestHasEnded) {
  for (int i = 0; i < 1200; ++i) temporary.file("stick/" + std::to_string(i) + ".mp3");
  start("dev1", stick);
  EXPECT_TRUE(waitUntil([this] { return progress().songs.stored >= 500; }));
  const int stored = std::stoi(rowsOf("dev1", "SELECT COUNT(*) FROM SONGS").front());
  EXPECT_GE(stored, 500);
  EXPECT_TRUE(waitUntilIdle());
  EXPECT_EQ(rowsOf("dev1", "SELECT COUNT(*) FROM SONGS").front(), "1200");
}

}  // namespace
}  // namespace orvel::test
