#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <tuple>

#include "tests/faults/Contents.h"
#include "tests/faults/FailingVfs.h"
#include "tests/faults/FaultStick.h"
#include "tests/support/Effort.h"
#include "tests/support/processStatus.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using failingVfs::Fault;
using testing::AnyOf;

constexpr const char* kFaultNames[] = {"NoSpace", "IoError", "ReadOnly", "Corrupt"};

/// The failing operation, and whether later ones fail, too.
using Failure = std::tuple<Fault, bool>;

/// A request for a stick that is new, has changed, or has not changed since it was indexed.
class ChangedStick : public FaultStick {
 protected:
  ChangedStick() { failingVfs::install(); }

  void SetUp() override {
    fillStick();
    indexFresh(indexed);
    before = musicOf(indexed);
    changeStick();
    after = indexFresh(unchanged);
    afterMusic = musicOf(unchanged);
  }

  const std::string indexed = temporary.path("indexed.db");
  const std::string unchanged = temporary.path("after.db");  ///< has all changes
  std::vector<std::string> before;
  std::vector<std::string> after;
  std::vector<std::string> afterMusic;
};

/// The request while SQLite's operations fail.
class FailingVfsTest : public ChangedStick, public testing::WithParamInterface<Failure> {
 protected:
  /// One request while the n-th operation fails, and one while nothing does.
  long run(const std::string& earlier, long n) {
    const auto [fault, persistent] = GetParam();
    SCOPED_TRACE("operation " + std::to_string(n) + (earlier.empty() ? " fresh" : " again"));
    beginCase(earlier);
    const std::string sameFile = database() + ".link";
    if (!earlier.empty()) fs::create_hard_link(database(), sameFile);
    failingVfs::arm(fault, n, persistent);
    start(kDevice, stick);
    EXPECT_TRUE(waitUntilEnded());
    const std::string told = progress().status;
    const std::string api = manager.getStatus(kDevice, stick);
    const long count = failingVfs::disarm();
    expectNoLie(told, api);
    if (!earlier.empty() && fault != Fault::Corrupt) {
      EXPECT_TRUE(fs::equivalent(database(), sameFile)) << "a good database was made anew";
    }
    index(kDevice, stick);
    if (manager.getStatus(kDevice, stick) != "OK") index(kDevice, stick);
    EXPECT_EQ(contentsOf(database()), after);
    EXPECT_EQ(integrityOf(database()), "ok");
    return count;
  }

  /// "OK" promises all rows. Only the file of a disk that could not be written at all may still say
  /// the truth about the rows that it holds.
  void expectNoLie(const std::string& told, const std::string& api) {
    if (told == "OK" || api == "OK") {
      EXPECT_EQ(musicOf(database()), afterMusic) << told << " " << api;
    }
    if (storedStatus() != "OK") return;
    const bool full = std::get<0>(GetParam()) == Fault::NoSpace;
    EXPECT_THAT(musicOf(database()), AnyOf(afterMusic, full ? afterMusic : before));
  }
};

TEST_P(FailingVfsTest, EndsWithoutALieAndTheNextRunCompletes) {
  std::mt19937_64 random = seededRandom();
  long cases = 0;
  for (const std::string& earlier : {std::string(), indexed, unchanged}) {
    const long operations = run(earlier, 0);
    for (const long n : spread(operations, casesOf(12, operations), random)) {
      run(earlier, n);
      ++cases;
    }
    std::printf("%ld operations, ", operations);
  }
  std::printf("%ld cases\n", cases);
}

/// The disk hangs during the request, and a second request supersedes it.
class HangingDiskTest : public ChangedStick {
 protected:
  /// @param hanging  how long the disk still hangs when the second request was made
  long run(const std::string& earlier, long n, std::chrono::milliseconds hanging) {
    SCOPED_TRACE("operation " + std::to_string(n) + (earlier.empty() ? " fresh" : " again"));
    beginCase(earlier);
    failingVfs::arm(Fault::Hang, n, false);
    start(kDevice, stick);
    EXPECT_TRUE(
        waitUntil([this] { return failingVfs::isHanging() || controller->liveRequests() == 0; }));
    if (failingVfs::isHanging()) {
      start(kDevice, stick);
      waitUntil([this] { return controller->liveRequests() == 0; }, hanging);
      failingVfs::release();
      EXPECT_TRUE(waitUntilEnded());
      const std::string told = progress().status;
      EXPECT_TRUE(waitUntil([this] { return entriesOf(kThreads) == threads; }));
      if (told == "OK") {
        EXPECT_EQ(contentsOf(database()), after);
      }
    }
    const long count = failingVfs::disarm();
    index(kDevice, stick);
    EXPECT_EQ(storedStatus(), "OK");
    EXPECT_EQ(contentsOf(database()), after);
    return count;
  }

  static constexpr char kThreads[] = "/proc/self/task";
  const long threads = entriesOf(kThreads);
};

TEST_F(HangingDiskTest, ASupersededRequestChangesNothingInAnyStep) {
  std::mt19937_64 random = seededRandom();
  for (const std::string& earlier : {std::string(), indexed, unchanged}) {
    const long operations = run(earlier, 0, 0ms);
    for (const long n : spread(operations, casesOf(5, operations), random)) {
      run(earlier, n, n % 2 == 0 ? 0ms : 1000ms);
    }
    std::printf("%ld operations\n", operations);
  }
}

INSTANTIATE_TEST_SUITE_P(Faults, FailingVfsTest,
                         testing::Combine(testing::Values(Fault::NoSpace, Fault::IoError,
                                                          Fault::ReadOnly, Fault::Corrupt),
                                          testing::Bool()),
                         [](const testing::TestParamInfo<Failure>& parameter) {
                           return std::string(
                                      kFaultNames[static_cast<int>(std::get<0>(parameter.param))]) +
                                  (std::get<1>(parameter.param) ? "FromThenOn" : "Once");
                         });

}  // namespace
}  // namespace orvel::test
