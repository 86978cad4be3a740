#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>

#include "tags/TagReading.h"
#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/support/Effort.h"
#include "tests/support/ScriptedPhone.h"
#include "tests/support/processStatus.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

/// The resources that a process should give back.
struct Holdings {
  long descriptors = 0;
  long threads = 0;
  /// Counts allocated bytes. Resident memory would also measure the fragmentation of the heap.
  long kibibytes = 0;

  static Holdings now() {
    return {entriesOf("/proc/self/fd"), entriesOf("/proc/self/task"), allocatedKibibytes()};
  }
};

/// Devices that come and go, in a host that never ends.
class LeakTest : public IndexerHost {
 protected:
  ~LeakTest() override { setTagReading(TagReading::InProcess); }

  /// Each device is attached, indexed and gone again in a cycle; every tenth time it is new.
  void cycle(const std::function<void(long number)>& attach) {
    constexpr long kWarmUp = 20;
    const long cycles = casesOf(60, 1000);
    const auto repeat = [&](long times) {
      for (long number = 0; number < times; ++number) {
        attach(number);
        takeSignals();
      }
    };
    repeat(kWarmUp);
    const Holdings before = Holdings::now();
    repeat(cycles);
    EXPECT_TRUE(waitUntil([&] {
      const Holdings now = Holdings::now();
      return now.descriptors <= before.descriptors && now.threads <= before.threads;
    }));
    const Holdings after = Holdings::now();
    EXPECT_FALSE(hasChildren());
    std::printf(
        "%ld cycles: descriptors %ld to %ld, threads %ld to %ld, memory %ld to %ld KiB,"
        " resident %ld KiB\n",
        cycles, before.descriptors, after.descriptors, before.threads, after.threads,
        before.kibibytes, after.kibibytes, statusKibibytes("VmRSS:"));
    EXPECT_LE(after.descriptors, before.descriptors);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_TRUE(kIsSanitized || after.kibibytes - before.kibibytes < 1024);
  }

  void cycleSticks() {
    for (int i = 0; i < 20; ++i) {
      writeSong(stick + "/" + std::to_string(i % 3) + "/" + std::to_string(i) + ".mp3",
                {"Title", "Artist " + std::to_string(i)});
    }
    temporary.file("stick/cut.mp3", "ID3");
    temporary.file("stick/list.m3u", "0/0.mp3\n1/1.mp3\n");
    cycle([this](long number) {
      if (number % 10 == 0) manager.deleteDb("dev1");
      temporary.touch("stick/0/0.mp3", 1000 + number);
      temporary.touch("stick/list.m3u", 1000 + number);
      index("dev1", stick);
      ASSERT_EQ(manager.getStatus("dev1", stick), "OK");
    });
  }
};

TEST_F(LeakTest, SticksReadInProcess) {
  cycleSticks();
}

TEST_F(LeakTest, SticksReadByAProcessOfItsOwn) {
  setTagReading(TagReading::Isolated, ORVEL_TAG_READER);
  cycleSticks();
}

TEST_F(LeakTest, Phones) {
  cycle([this](long number) {
    if (number % 10 == 0) manager.deleteDb("phone1");
    ScriptedPhone phone;
    phone.device.addTrack("/Music/B/t" + std::to_string(number) + ".mp3").tags = tags("U", "Y");
    indexPhone(phone.plugIn());
    ASSERT_EQ(rowsOf("phone1", "SELECT COUNT(*) FROM SONGS;").front(), "2");
  });
}

}  // namespace
}  // namespace orvel::test
