#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>

#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/support/LogCapture.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

using std::chrono::seconds;

using InterruptionTest = IndexerHost;

TEST_F(InterruptionTest, SupersedingOnTheMainLoopWhileAPlaylistWaitsForThatLoop) {
  writeSong(stick + "/s.mp3", {"T", "X"});
  for (int i = 0; i < 20; ++i) {
    temporary.file("stick/" + std::to_string(i) + ".m3u", "s.mp3\n");
  }
  LogCapture log;
  EXPECT_TRUE(onMainLoop(
      [&] {
        start("dev1", stick);
        // The miner waits now for the very loop that the next call blocks.
        ASSERT_TRUE(log.waitFor("MSDPlaylistMiner for: 20"));
        start("dev1", stick);
      },
      seconds(5)));
  EXPECT_TRUE(waitUntilIdle());
  EXPECT_EQ(manager.getStatus("dev1", stick), "OK");
  EXPECT_EQ(rowsOf("dev1", "SELECT COUNT(DISTINCT PLAYID) FROM PLAYLISTS").front(), "20");
}

TEST_F(InterruptionTest, SongsAreReadableBeforeTheRequestHasEnded) {
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
