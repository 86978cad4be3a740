#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <tuple>

#include "tests/faults/Contents.h"
#include "tests/faults/FailingVfs.h"
#include "tests/faults/FaultStick.h"
#include "tests/support/Effort.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using failingVfs::Fault;
using testing::AnyOf;

constexpr const char* kFaultNames[] = {"NoSpace", "IoError", "ReadOnly", "Corrupt"};

/// The failing operation, and whether later ones fail, too.
using Failure = std::tuple<Fault, bool>;

/// A request for a stick that has changed since it was indexed, while SQLite's operations fail.
class FailingVfsTest : public FaultStick, public testing::WithParamInterface<Failure> {
 protected:
  FailingVfsTest() { failingVfs::install(); }

  void SetUp() override {
    fillStick();
    indexFresh(indexed);
    before = musicOf(indexed);
    changeStick();
    after = indexFresh(temporary.path("after.db"));
    afterMusic = musicOf(temporary.path("after.db"));
  }

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

  const std::string indexed = temporary.path("indexed.db");
  std::vector<std::string> before;
  std::vector<std::string> after;
  std::vector<std::string> afterMusic;
};

TEST_P(FailingVfsTest, EndsWithoutALieAndTheNextRunCompletes) {
  std::mt19937_64 random = seededRandom();
  long cases = 0;
  for (const std::string& earlier : {std::string(), indexed}) {
    const long operations = run(earlier, 0);
    for (const long n : spread(operations, casesOf(12, operations), random)) {
      run(earlier, n);
      ++cases;
    }
    std::printf("%ld operations, ", operations);
  }
  std::printf("%ld cases\n", cases);
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
