#include <gmock/gmock.h>

#include <thread>

#include "orchestration/Orvel.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MainLoopThread.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// Real pipelines on small sticks. Without a main loop a request waits at its playlist.
class Controller : public DatabaseFolderFixture {
 protected:
  static void run(Orvel& started) {
    started.launch();
    started.start();
  }
  std::string stick(const std::string& name) const {
    for (const char* song : {"/a.m4a", "/Music/b.m4a"}) temporary.file(name + song);
    temporary.file(name + "/Lists/p.m3u", "../Music/b.m4a\n");
    return temporary.path(name);
  }
  static void request(Orvel& target, const std::string& device, const std::string& mount) {
    target.enqueueNewOperation(MSD_OPERATION, device, 0, mount, true);
  }
  bool awaitPlaylist(int id) const {
    return log.waitFor("MSDPlaylistMiner for: 1 (op: " + std::to_string(id) + ")");
  }
  static bool awaitEnd(const Orvel& target) {
    return waitUntil([&] { return target.liveRequests() == 0; }, 20s);
  }
  /// Songs, joined playlist entries, folders and integrity of a device's database.
  static std::vector<std::string> contents(const std::string& device) {
    return rowsOf(device,
                  "SELECT COUNT(*), COUNT(DISTINCT PATH) FROM SONGS; SELECT COUNT(*) FROM PLAYLISTS"
                  " JOIN SONGS ON TRACKID = OBJECTID; SELECT COUNT(*) FROM DIRECTORIES;"
                  " SELECT STATUS FROM PARTITIONS; PRAGMA integrity_check;");
  }
  static auto isComplete() { return ElementsAre("2|2", "2", "2", "OK", "ok"); }

  LogCapture log;
};

TEST_F(Controller, WaitingRequestsRunInTheOrderOfTheirKeys) {
  Orvel controller;
  run(controller);
  const std::string mounts[] = {stick("b"), stick("a2"), stick("a1")};
  request(controller, "b", mounts[0]);
  request(controller, "a", mounts[1]);
  request(controller, "a", mounts[2]);
  EXPECT_EQ(log.count("RNC NOTHING TO DO a"), 1);
  EXPECT_EQ(log.count("START IT"), 1);
  ASSERT_TRUE(awaitPlaylist(1));
  EXPECT_EQ(controller.progressOf(mounts[2])->phase, RequestPhase::Waiting);
  const MainLoopThread loop;
  ASSERT_TRUE(awaitEnd(controller));
  std::vector<std::string> finished;
  for (const auto& text : log.texts("Orvel finished"))
    finished.push_back(text.substr(text.size() - 1));
  EXPECT_THAT(finished, ElementsAre("1", "3", "2"));
  EXPECT_THAT(contents("b"), isComplete());
  EXPECT_THAT(rowsOf("a", "SELECT STATUS FROM PARTITIONS; SELECT COUNT(*) FROM SONGS;"),
              ElementsAre("OK", "OK", "4"));
}

TEST_F(Controller, PriorityRunsOneDeviceAndParksTheOthers) {
  Orvel controller;
  run(controller);
  const std::string a = stick("a");
  const std::string b = stick("b");
  request(controller, "a", a);
  request(controller, "b", b);
  ASSERT_TRUE(awaitPlaylist(1));
  controller.prioritizeOperation(MSD_OPERATION, "b", 0, b);
  EXPECT_EQ(log.count("Orvel::prioritizeOperation Starting b " + b + " 0"), 1);
  ASSERT_TRUE(awaitPlaylist(2));
  controller.prioritizeOperation(MSD_OPERATION, "unknown", 0, a);
  const MainLoopThread loop;
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(controller.liveRequests(), 2U) << "everything is parked";
  controller.prioritizeOperation(MSD_OPERATION, "b", 0, b);
  ASSERT_TRUE(awaitEnd(controller));
  EXPECT_THAT(log.texts("Orvel finished operation"),
              ElementsAre("Orvel finished operation b hanlde 0 mp " + b + " opid: 2",
                          "Orvel finished operation a hanlde 0 mp " + a + " opid: 1"));
  for (const char* device : {"a", "b"}) EXPECT_THAT(contents(device), isComplete());
}

}  // namespace
}  // namespace orvel::test
