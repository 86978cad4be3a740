#include <gtest/gtest.h>

#include <cstdio>

#include "tests/faults/Contents.h"
#include "tests/faults/FailingMemory.h"
#include "tests/faults/FaultStick.h"
#include "tests/support/Effort.h"

namespace orvel::test {
namespace {

/// Before the first use of SQLite by anybody.
const bool kInstalled = (failingMemory::installInSqlite(), true);

/// A whole request for a changed stick of three songs while memory runs out. GLib ends the process
/// when an allocation of its own fails; it is left alone here.
class MemoryTest : public FaultStick {
 protected:
  using Arm = void (*)(long n, bool persistent);

  MemoryTest() {
    EXPECT_TRUE(kInstalled);
    fillStick();
    indexFresh(indexed);
    changeStick();
    after = indexFresh(temporary.path("after.db"));
    afterMusic = musicOf(temporary.path("after.db"));
  }

  long run(Arm arm, long n, bool persistent) {
    SCOPED_TRACE("allocation " + std::to_string(n));
    beginCase(indexed);
    arm(n, persistent);
    start(kDevice, stick);
    EXPECT_TRUE(waitUntilEnded());
    const long count = failingMemory::disarm();
    const bool failed = progress().phase == RequestPhase::Failed;
    if (!failed && manager.getStatus(kDevice, stick) == "OK") {
      EXPECT_EQ(musicOf(database()), afterMusic);
    }
    index(kDevice, stick);
    EXPECT_EQ(contentsOf(database()), after);
    EXPECT_EQ(integrityOf(database()), "ok");
    return count;
  }

  void sample(Arm arm, long once, long persistent) {
    std::mt19937_64 random = seededRandom();
    const long allocations = run(arm, 0, false);
    for (const long n : spread(allocations, once, random)) run(arm, n, false);
    for (const long n : spread(allocations, persistent, random)) run(arm, n, true);
    std::printf("%ld allocations, %ld cases\n", allocations, once + persistent);
  }

  const std::string indexed = temporary.path("indexed.db");
  std::vector<std::string> after;
  std::vector<std::string> afterMusic;
};

TEST_F(MemoryTest, OperatorNewOnOrvelsThreads) {
  sample(failingMemory::armNew, casesOf(30, 1500), casesOf(2, 40));
}

TEST_F(MemoryTest, AllocationsOfSqlite) {
  sample(failingMemory::armSqlite, casesOf(30, 1500), casesOf(5, 200));
}

}  // namespace
}  // namespace orvel::test
