#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/support/LogCapture.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;

class InterruptionTest : public IndexerHost {
 protected:
  /// A stick with two songs and a playlist, which waits for the main loop.
  std::string stickWithList(const std::string& name) const {
    for (const char* song : {"/a.m4a", "/Music/b.m4a"}) temporary.file(name + song);
    temporary.file(name + "/p.m3u", "Music/b.m4a\n");
    return temporary.path(name);
  }

  static bool awaitPlaylist(const LogCapture& log, int request) {
    return log.waitFor("MSDPlaylistMiner for: 1 (op: " + std::to_string(request) + ")");
  }

  void prioritize(const char* device, const std::string& mountPoint) {
    OrvelQTProxy::instance().prioritizeMsdDevice(device, QString::fromStdString(mountPoint));
  }

  void expectComplete(const char* device) {
    EXPECT_THAT(rowsOf(device,
                       "SELECT DISTINCT STATUS FROM PARTITIONS; SELECT COUNT(DISTINCT PATH) ="
                       " 2 * COUNT(DISTINCT PARTITION_ID) FROM SONGS; SELECT COUNT(*) > 0 FROM"
                       " PLAYLISTS JOIN SONGS ON TRACKID = OBJECTID; PRAGMA integrity_check;"),
                ElementsAre("OK", "1", "1", "ok"));
  }
};

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

TEST_F(InterruptionTest, WaitingRequestsRunInTheOrderOfTheirKeys) {
  const std::string mounts[] = {stickWithList("b"), stickWithList("a2"), stickWithList("a1")};
  const LogCapture log;
  onMainLoop([&] {
    start("b", mounts[0]);
    start("a", mounts[1]);
    start("a", mounts[2], false);
    EXPECT_TRUE(awaitPlaylist(log, 1));
    EXPECT_EQ(controller->progressOf(mounts[2])->phase, RequestPhase::Waiting);
  });
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_THAT(takeFinished(), ElementsAre(mounts[0], mounts[2], mounts[1]));
  for (const char* device : {"a", "b"}) expectComplete(device);
}

TEST_F(InterruptionTest, PriorityRunsOneDeviceAndParksTheOthers) {
  const std::string a = stickWithList("a");
  const std::string b = stickWithList("b");
  const LogCapture log;
  onMainLoop([&] {
    start("a", a);
    start("b", b);
    EXPECT_TRUE(awaitPlaylist(log, 1));
    prioritize("b", b);
    EXPECT_TRUE(awaitPlaylist(log, 2));
    prioritize("unknown", a);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(controller->liveRequests(), 2U) << "everything is parked";
  prioritize("b", b);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_THAT(takeFinished(), ElementsAre(b, a));
  for (const char* device : {"a", "b"}) expectComplete(device);
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
