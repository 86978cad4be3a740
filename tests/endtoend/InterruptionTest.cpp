#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <future>
#include <random>
#include <thread>

#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/support/LogCapture.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class InterruptionTest : public IndexerHost {
 protected:
  void fillStick(int songs) {
    for (int i = 0; i < songs; ++i) {
      temporary.file("stick/" + std::to_string(i % 10) + "/" + std::to_string(i) + ".mp3");
    }
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

TEST_F(InterruptionTest, SupersededAtAnyMomentTheLastRequestStoresEverything) {
  fillStick(900);
  std::mt19937 random(7);
  for (int i = 0; i < 20; ++i) {
    start("dev1", stick);
    std::this_thread::sleep_for(milliseconds(random() % 40));
  }
  EXPECT_TRUE(waitUntilIdle());
  EXPECT_EQ(manager.getStatus("dev1", stick), "OK");
  EXPECT_EQ(rowsOf("dev1", "SELECT COUNT(*), COUNT(DISTINCT PATH) FROM SONGS").front(), "900|900");
}

TEST_F(InterruptionTest, StopEndsWithinASecondAndTheNextRunCarriesOn) {
  fillStick(3000);
  start("dev1", stick);
  EXPECT_TRUE(waitUntil([this] { return progress().songs.stored > 0; }));
  const auto begin = std::chrono::steady_clock::now();
  controller->stop();
  controller->join();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, seconds(1));
  EXPECT_EQ(manager.getStatus("dev1", stick), "PROGRESS");
  const int stored = std::stoi(rowsOf("dev1", "SELECT COUNT(*) FROM SONGS").front());

  controller = std::make_unique<Orvel>();
  controller->launch();
  controller->start();
  OrvelQTProxy::instance().setController(controller.get());
  index("dev1", stick);
  EXPECT_EQ(progress().songs.unchanged, static_cast<unsigned>(stored));
  EXPECT_EQ(manager.getStatus("dev1", stick), "OK");
  EXPECT_EQ(rowsOf("dev1", "SELECT COUNT(*) FROM SONGS").front(), "3000");
}

TEST_F(InterruptionTest, AnotherProcessHoldsTheDatabase) {
  fillStick(10);
  index("dev1", stick);
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(databaseOf("dev1").c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE;", nullptr, nullptr, nullptr), SQLITE_OK);
  temporary.file("stick/new.mp3");
  const auto begin = std::chrono::steady_clock::now();
  start("dev1", stick);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, seconds(2));
  // A stage waits for the lock: superseding still ends it, and releasing the lock lets all finish.
  start("dev1", stick);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, seconds(4));
  EXPECT_EQ(controller->liveRequests(), 1U);
  sqlite3_exec(other, "COMMIT;", nullptr, nullptr, nullptr);
  sqlite3_close(other);
  EXPECT_TRUE(waitUntilIdle());
  EXPECT_EQ(rowsOf("dev1", "SELECT COUNT(*) FROM SONGS").front(), "11");
  EXPECT_EQ(manager.getStatus("dev1", stick), "OK");
}

TEST_F(InterruptionTest, PrioritisingLetsTheWaitingDeviceFinishFirst) {
  fillStick(200);
  temporary.file("stick/p.m3u", "0/0.mp3\n");
  const std::string urgent = temporary.folder("urgent");
  temporary.file("urgent/u.mp3");
  // The first device cannot end by itself meanwhile: its playlist waits for the main loop.
  std::promise<void> release;
  const std::jthread held([&] { onMainLoop([&] { release.get_future().wait(); }); });
  start("dev1", stick);
  start("dev2", urgent);
  OrvelQTProxy::instance().prioritizeMsdDevice("dev2", QString::fromStdString(urgent));
  EXPECT_TRUE(waitUntil([&] { return manager.getStatus("dev2", urgent) == "OK"; }));
  EXPECT_NE(manager.getStatus("dev1", stick), "OK");
  release.set_value();
  // The result of the prioritised request starts the first one again.
  EXPECT_TRUE(waitUntilIdle());
  if (manager.getStatus("dev1", stick) != "OK") index("dev1", stick);
  EXPECT_EQ(manager.getStatus("dev1", stick), "OK");
  EXPECT_EQ(rowsOf("dev1", "SELECT COUNT(*) FROM SONGS").front(), "200");
}

TEST_F(InterruptionTest, AHostMayCallBackFromEverySignal) {
  writeSong(stick + "/s.mp3", {"T", "X"});
  const std::string second = temporary.folder("second");
  writeSong(second + "/t.mp3", {"U", "Y"});
  index("dev1", stick);
  QObject context;
  bool again = true;
  // Arrives inside startIndexing, under the controller's lock.
  QObject::connect(
      &OrvelQTProxy::instance(), &OrvelQTProxy::databaseExists, &context,
      [&](const QString&, const QString&) {
        if (std::exchange(again, false)) start("dev1", second, false);
      },
      Qt::DirectConnection);
  start("dev1", stick);
  EXPECT_TRUE(waitUntilIdle());
  EXPECT_FALSE(again);
  EXPECT_EQ(rowsOf("dev1", "SELECT COUNT(*) FROM SONGS").front(), "2");
}

}  // namespace
}  // namespace orvel::test
