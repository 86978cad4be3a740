#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <optional>

#include "base/Limits.h"
#include "msd/MSDMiner.h"
#include "tags/isolation/IsolatedTagReader.h"
#include "tests/endtoend/Song.h"
#include "tests/faults/Contents.h"
#include "tests/faults/FaultStick.h"
#include "tests/faults/FaultyDevice.h"
#include "tests/faults/OwnMounts.h"
#include "tests/support/Effort.h"
#include "tests/support/LogCapture.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::ElementsAre;
using Fault = FaultyDevice::Fault;

/// A small stick that is a device of the test's own, and goes wrong while it is indexed.
class DeviceTest : public OwnMounts, public FaultStick {
 protected:
  void SetUp() override {
    if (!obstacle().empty()) GTEST_SKIP() << obstacle();
    try {
      const FaultyDevice device(content, stick);
    } catch (const std::system_error& error) {
      GTEST_SKIP() << error.what();
    }
    writeSong(content + "/root.mp3", {"Root", "R"});
    for (const char* folder : {"A", "B", "B/C", "D", "E"}) {
      for (const char* name : {"1.mp3", "2.m4a", "3.flac"}) {
        writeSong(content + "/" + folder + "/" + name, {std::string(folder) + name, folder});
      }
    }
    temporary.file("content/list.m3u", "A/1.mp3\nB/C/2.m4a\n");
  }

  /// The contents of a healthy device, and the number of operations that reading it takes.
  void learn() {
    FaultyDevice device(content, stick);
    device.arm(Fault::None, 0);
    complete = indexFresh(indexed);
    operations = device.operations();
    std::printf("%ld operations\n", operations);
  }

  /// Indexes while the device meets the fault at its n-th operation, and again when it is well.
  void run(Fault fault, long n, const std::string& earlier = "") {
    SCOPED_TRACE("operation " + std::to_string(n));
    beginCase(earlier);
    {
      FaultyDevice device(content, stick);
      device.arm(fault, n);
      start(kDevice, stick);
      EXPECT_TRUE(waitUntilEnded());
      if (device.hasFailed()) longest.add(Longest::Clock::now() - device.failedAt());
      device.disarm();
    }
    EXPECT_EQ(progress().status, storedStatus());
    if (storedStatus() == "OK") {
      EXPECT_EQ(contentsOf(database()), complete);
      ++unharmed;
    }
    const FaultyDevice device(content, stick);
    index(kDevice, stick);
    EXPECT_EQ(contentsOf(database()), complete);
  }

  void runAll(std::initializer_list<Fault> faults, long shortForm) {
    std::mt19937_64 random = seededRandom();
    learn();
    const auto numbers = spread(operations, casesOf(shortForm, operations), random);
    for (const Fault fault : faults) {
      for (const long n : numbers) run(fault, n);
    }
    std::printf("%zu cases, of which %d ended OK; longest end %.0f ms after the fault\n",
                faults.size() * numbers.size(), unharmed, longest.milliseconds());
  }

  const std::string content = temporary.folder("content");
  const std::string indexed = temporary.path("indexed.db");
  std::vector<std::string> complete;
  long operations = 0;
  int unharmed = 0;
  Longest longest;
};

/// Errors of the device and an unmount end alike.
TEST_F(DeviceTest, VanishingEndsTheRequestAndTheNextOneCompletes) {
  runAll({Fault::NoDevice, Fault::Disconnected, Fault::Unmounted}, 200 / 3 + 1);
  EXPECT_LT(longest.milliseconds(), withSlack(1s).count());
}

TEST_F(DeviceTest, InputOutputErrorsCostNothingForGood) {
  runAll({Fault::IoError, Fault::IoErrors}, 50);
}

TEST_F(DeviceTest, FilesThatShrinkWhileTheyAreRead) {
  std::mt19937_64 random = seededRandom();
  learn();
  for (const long n : spread(operations, casesOf(20, operations), random)) {
    beginCase();
    FaultyDevice device(content, stick);
    device.arm(Fault::Shrink, n);
    index(kDevice, stick);
    EXPECT_EQ(rowsOf(kDevice, "SELECT COUNT(*) FROM SONGS;").front(), "16");
    EXPECT_EQ(integrityOf(database()), "ok");
  }
}

/// The device stops the first request in its walk or while it reads a song; the second replaces it.
TEST_F(DeviceTest, SupersedingWhileTheDeviceHangsEndsInTheContentsOfAFreshRun) {
  std::mt19937_64 random = seededRandom();
  learn();
  for (const long n : spread(operations, casesOf(6, operations), random)) {
    SCOPED_TRACE("operation " + std::to_string(n));
    beginCase();
    FaultyDevice device(content, stick);
    device.arm(Fault::Hang, n);
    start(kDevice, stick);
    EXPECT_TRUE(waitUntil([&] { return device.hasFailed(); }));
    start(kDevice, stick);
    device.disarm();
    EXPECT_TRUE(waitUntilEnded());
    EXPECT_EQ(storedStatus(), "OK");
    EXPECT_EQ(contentsOf(database()), complete);
  }
}

/// The texts that could be read are kept, and the request after the next one is complete: without
/// the playlist and the folder, which every request tries again.
TEST_F(DeviceTest, ABadSectorCostsItselfAndIsGivenUpAtTheSecondRun) {
  fs::resize_file(content + "/A/1.mp3", 100000);
  temporary.file("content/bad.m3u", "A/1.mp3\n");
  writeSong(content + "/bad/1.mp3", {"Lost", "L"});
  FaultyDevice device(content, stick);
  device.arm(Fault::BadSectors, 1);
  for (const char* status : {"PROGRESS", "OK", "OK"}) {
    index(kDevice, stick);
    EXPECT_EQ(storedStatus(), status);
    EXPECT_THAT(rowsOf(kDevice, "SELECT TITLE FROM SONGS WHERE PATH LIKE '%/A/1.mp3';"),
                ElementsAre("A1.mp3"));
  }
  EXPECT_EQ(progress().songs.unchanged, 16U);
  device.disarm();
  index(kDevice, stick);
  EXPECT_EQ(storedStatus(), "OK");
  EXPECT_THAT(rowsOf(kDevice,
                     "SELECT TITLE FROM SONGS WHERE PATH LIKE '%/bad/1.mp3' UNION ALL"
                     " SELECT DISTINCT PLAYNAME FROM PLAYLISTS WHERE PLAYNAME = 'bad.m3u'"
                     " UNION ALL SELECT PATH FROM UNDELIVERED;"),
              ElementsAre("Lost", "bad.m3u"));
}

TEST_F(DeviceTest, FoldersThatContainThemselvesEndAtTheLimit) {
  temporary.folder("content/again");
  const FaultyDevice device(content, stick);
  setLimits({.folders = 100});
  index(kDevice, stick);
  setLimits({});
  EXPECT_TRUE(progress().folderLimitReached);
  EXPECT_EQ(progress().directories.found, 100U);
  EXPECT_EQ(storedStatus(), "OK");
}

/// A file that the device does not deliver costs itself, and three in a row the rest of the block.
TEST_F(DeviceTest, AReaderThatWaitsForTheDeviceIsGivenUp) {
  if (kIsEmulated) GTEST_SKIP() << "a read that waits is one of the emulator's own";
  FaultyDevice device(content, stick);
  MSDMiner miner("MSDMiner", std::make_shared<MountPointWatch>(), [](std::stop_token token) {
    return std::make_unique<IsolatedTagReader>(std::move(token), ORVEL_TAG_READER,
                                               TagReading::Isolated,
                                               std::make_shared<TagReaderPatience>(700ms));
  });
  const auto mine = [&](std::initializer_list<const char*> names, bool failedBefore = false) {
    const auto block = boost::make_shared<Block<FileInfo*>>(Operation(1, 0, kDevice, stick, true));
    for (const char* name : names) {
      block->items.push_back(new FileInfo(stick + name, 0, 5));
      block->items.back()->failedBefore = failedBefore;
    }
    return miner.doOperation(block);
  };
  EXPECT_EQ(mine({"/root.mp3"})->items.at(0)->title, "Root");
  device.arm(Fault::HangingReads, 1);
  const LogCapture log;
  const auto final = mine({"/A/1.mp3"}, true);
  EXPECT_TRUE(final->items.at(0)->lastModified == 5 && !final->operation.skipped);
  const auto stalled = mine({"/A/2.m4a", "/A/3.flac", "/B/1.mp3", "/B/2.m4a"});
  ASSERT_EQ(stalled->items.size(), 3U);
  for (const MetaDataInfo* song : stalled->items) EXPECT_EQ(song->lastModified, kNeverRead);
  EXPECT_TRUE(stalled->operation.skipped);
  EXPECT_EQ(log.texts("waits for the device for track: " + stick + "/A/1.mp3").size(), 1U);
}

}  // namespace
}  // namespace orvel::test
