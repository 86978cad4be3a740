#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <thread>

#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/faults/FaultyDevice.h"
#include "tests/faults/OwnMounts.h"
#include "tests/support/Effort.h"
#include "tests/support/processStatus.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Fault = FaultyDevice::Fault;

/// How long the host's main loop is held by each of its calls while a request is in the worst of
/// states. The times are printed; the promises are asserted with room for a busy machine.
class BoundsTest : public OwnMounts, public IndexerHost {
 protected:
  /// Brings a request for dev1 into the state, on the thread of the main loop.
  using Enter = std::function<void()>;
  /// Takes the state back, so that every thread can end.
  using Leave = std::function<void()>;

  BoundsTest() {
    fs::create_directory(content);
    writeSong(temporary.path("song.mp3"), {"T", "X"});
    for (int i = 0; i < 1500; ++i) {
      fs::create_symlink(temporary.path("song.mp3"), content + "/" + std::to_string(i) + ".mp3");
    }
  }

  void measure(
      const char* state, std::chrono::milliseconds promised, long rounds, const Enter& enter,
      const Leave& leave = [] {}) {
    const struct {
      const char* name;
      std::function<void()> call;
    } calls[] = {
        {"start", [this] { start("dev2", other); }},
        {"supersede", [this] { start("dev1", stick); }},
        {"prioritise",
         [this] {
           OrvelQTProxy::instance().prioritizeMsdDevice("dev2", QString::fromStdString(other));
         }},
        {"shutdown",
         [this] {
           controller->stop();
           controller->join();
         }},
    };
    std::printf("%-20s", state);
    for (const auto& [name, call] : calls) {
      Longest longest;
      for (long round = 0; round < rounds; ++round) {
        onMainLoop(
            [&, &timed = call] {
              enter();
              longest.measure(timed);
            },
            60s);
        leave();
        beginAgain();
      }
      EXPECT_LT(longest.milliseconds(), withSlack(promised).count()) << state << " " << name;
      std::printf(" %s %.1f ms", name, longest.milliseconds());
    }
    std::printf("\n");
  }

  void beginAgain() {
    controller->stop();
    controller->join();
    // Give the controller time to delete the pipelines that it left behind.
    EXPECT_TRUE(waitUntil([this] { return entriesOf(kThreads) < threads; }));
    renewController();
    manager.deleteDb("dev1");
  }

  /// Measures in the state "the device has met the fault at its n-th operation".
  void measureOn(const char* state, Fault fault, long n) {
    std::unique_ptr<FaultyDevice> device;
    measure(
        state, 1s, casesOf(3, 50),
        [&] {
          device = std::make_unique<FaultyDevice>(content, stick);
          device->arm(fault, n);
          start("dev1", stick);
          EXPECT_TRUE(waitUntil([&] { return device->hasFailed(); }));
        },
        [&] { device.reset(); });
  }

  void needDevices() {
    if (!obstacle().empty()) GTEST_SKIP() << obstacle();
    try {
      const FaultyDevice device(content, stick);
    } catch (const std::system_error& error) {
      GTEST_SKIP() << error.what();
    }
  }

  static constexpr char kThreads[] = "/proc/self/task";
  const long threads = entriesOf(kThreads);
  const std::string content = temporary.path("content");
  const std::string other = temporary.folder("other");
  std::mt19937_64 random = seededRandom();
};

TEST_F(BoundsTest, HealthyStick) {
  if (kIsSanitized) GTEST_SKIP() << "a healthy stick's times mean nothing under the sanitizers";
  fs::remove(stick);
  fs::rename(content, stick);
  measure("mining", 100ms, casesOf(5, 100), [this] {
    start("dev1", stick);
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 60));
  });
  for (int i = 0; i < 20; ++i) temporary.file("stick/" + std::to_string(i) + ".m3u", "1.mp3\n");
  measure("playlist awaited", 100ms, casesOf(5, 100), [this] {
    start("dev1", stick);
    EXPECT_TRUE(waitUntil([this] { return progress().songs.stored > 1000; }));
  });
}

TEST_F(BoundsTest, AnotherProcessHoldsTheDatabase) {
  fs::remove(stick);
  fs::rename(content, stick);
  Longest started;
  sqlite3* holder = nullptr;
  measure(
      "database in use", 1s, casesOf(1, 10),
      [&] {
        manager.createDb("dev1", stick, true);
        ASSERT_EQ(sqlite3_open(databaseOf("dev1").c_str(), &holder), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(holder,
                               "PRAGMA locking_mode=EXCLUSIVE; BEGIN IMMEDIATE; DELETE FROM SONGS;",
                               nullptr, nullptr, nullptr),
                  SQLITE_OK);
        started.measure([&] { start("dev1", stick); });
        std::this_thread::sleep_for(50ms);
      },
      [&] { sqlite3_close(holder); });
  std::printf("%-20s first start %.1f ms\n", "", started.milliseconds());
  EXPECT_LT(started.milliseconds(), withSlack(1s).count());
}

TEST_F(BoundsTest, DeviceVanished) {
  needDevices();
  if (IsSkipped()) return;
  measureOn("device vanished", Fault::NoDevice, 500);
  measureOn("device unmounted", Fault::Unmounted, 2000);
}

TEST_F(BoundsTest, DeviceHangs) {
  needDevices();
  if (IsSkipped()) return;
  measureOn("hangs in the crawl", Fault::Hang, 500);
  measureOn("hangs in a song", Fault::Hang, 3500);
}

TEST_F(BoundsTest, ARequestBeyondTheOnesThatHangIsRefusedWithItsReason) {
  needDevices();
  if (IsSkipped()) return;
  auto device = std::make_unique<FaultyDevice>(content, stick);
  device->arm(Fault::Hang, 500);
  onMainLoop(
      [&] {
        start("dev1", stick);
        EXPECT_TRUE(waitUntil([&] { return device->hasFailed(); }));
        // A request that has not reached the device yet ends in time: it does not count as hanging.
        for (int i = 0; i < 60 && progress().phase != RequestPhase::Failed; ++i) {
          start("dev1", stick);
          std::this_thread::sleep_for(20ms);
        }
      },
      60s);
  EXPECT_EQ(takeSignals(), std::vector<std::string>{"indexingFinished " + stick});
  EXPECT_EQ(progress().phase, RequestPhase::Failed);
  EXPECT_EQ(progress().leftUndone,
            std::vector<std::string>{
                "too many earlier requests still wait for devices that do not answer"});
  device.reset();
  beginAgain();
}

}  // namespace
}  // namespace orvel::test
