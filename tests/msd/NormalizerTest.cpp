#include "msd/Normalizer.h"

#include <gtest/gtest.h>

#include "tests/msd/CatchingSink.h"

namespace orvel::test {
namespace {

class NormalizerSizes : public testing::TestWithParam<int> {};

TEST_P(NormalizerSizes, AreCutIntoBatchesInOrderWithOneLast) {
  CatchingSink<Block<FileInfo*>> sink;
  Normalizer normalizer("Normalizer");
  normalizer.sink = &sink;
  const auto block = boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", "/m", true));
  block->operation.skipped = true;
  for (int i = 0; i < GetParam(); ++i) block->items.push_back(new FileInfo("f", 0, i));
  const auto last = normalizer.doOperation(block);
  auto batches = sink.take();
  batches.push_back(last);
  EXPECT_EQ(batches.size(), static_cast<std::size_t>(std::max(1, (GetParam() + 499) / 500)));
  int next = 0;
  for (const auto& batch : batches) {
    EXPECT_EQ(batch->operation.last, batch == last);
    EXPECT_TRUE(batch->operation.skipped);
    EXPECT_TRUE(batch == last || batch->items.size() == 500);
    for (const FileInfo* file : batch->items) EXPECT_EQ(file->lastModified, next++);
  }
  EXPECT_EQ(next, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Normalizer, NormalizerSizes,
                         testing::Values(0, 1, 499, 500, 501, 1000, 1234));

}  // namespace
}  // namespace orvel::test
