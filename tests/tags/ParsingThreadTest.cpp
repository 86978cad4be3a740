#include "tags/ParsingThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

/// A device that fails may take half a minute for each further file.
TEST(ParsingThread, GoesNoFurtherThanATroubledFileUntilItIsAskedForMore) {
  constexpr int kFiles = 1000;
  constexpr int kTroubled = 21;
  std::atomic<int> parsed = 0;
  ParsingThread thread(
      kFiles,
      [&] {
        const bool isBad = ++parsed == kTroubled;
        return ParsedFile{
            TagResult{isBad ? TagResult::Outcome::DeviceFailed : TagResult::Outcome::Untagged}, {}};
      },
      {});
  for (int i = 1; i <= kTroubled; ++i) {
    EXPECT_EQ(thread.take().isTroubled(), i == kTroubled) << i;
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(parsed, kTroubled);
  EXPECT_FALSE(thread.take().isTroubled());
  waitUntil([&] { return parsed > kTroubled + 16; });
  EXPECT_LT(parsed, kTroubled + 4 * 16) << "runs away from the one who takes the results";
}

}  // namespace
}  // namespace orvel::test
