#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "msd/MSDMiner.h"
#include "tags/MediaKind.h"
#include "tests/hostile/BrokenMedia.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/Effort.h"
#include "tests/support/processStatus.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

/// Reads broken songs as a stage does: from files, on a thread of its own.
class HostileMedia : public DatabaseFolderFixture {
 protected:
  HostileMedia() {
    miner.sink = &sink;
    miner.launch();
    miner.start();
  }
  ~HostileMedia() override {
    mineBlock();
    miner.stop();
    miner.join();
    std::printf("%zu files, at most %.1f s and %ld MiB for a block\n", files, slowest, largest);
  }

  /// Mines the files in blocks of `perBlock`.
  FileSink mineIn(std::size_t perBlock) {
    return [this, perBlock](const BrokenFile& file) {
      ASSERT_EQ(mediaKindOf(file.name.c_str()), MediaKind::Song) << file.name;
      block->items.push_back(new FileInfo(temporary.file(file.name, file.content), 0, 5));
      const std::string& path = *block->items.back()->path;
      if (file.size > file.content.size()) std::filesystem::resize_file(path, file.size);
      if (block->items.size() >= perBlock) mineBlock();
    };
  }

  BrokenMedia media{seededRandom()};

 private:
  boost::shared_ptr<Block<FileInfo*>> emptyBlock() {
    return boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", temporary.path(), false));
  }

  void mineBlock() {
    if (block->items.empty()) return;
    const auto mined = std::exchange(block, emptyBlock());
    // Kept after a crash, to name the file.
    std::printf("%s and %zu more\n", mined->items.front()->path->c_str(), mined->items.size() - 1);
    std::fflush(stdout);
    const PeakMemory peak;
    const auto begin = std::chrono::steady_clock::now();
    miner.enqueue(mined);
    std::vector<boost::shared_ptr<Block<MetaDataInfo*>>> results;
    const auto arrived = [&] {
      results = sink.take();
      return !results.empty();
    };
    ASSERT_TRUE(waitUntil(arrived, kTimeForBlock)) << *mined->items.front()->path;
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    slowest = std::max(slowest, taken.count());
    largest = std::max(largest, peak.mebibytes());
    EXPECT_LT(peak.mebibytes(), kMostMebibytes) << *mined->items.front()->path;
    EXPECT_FALSE(results.front()->operation.skipped);
    files += mined->items.size();
    EXPECT_EQ(results.front()->items.size(), mined->items.size()) << *mined->items.front()->path;
    for (const FileInfo* file : mined->items) std::filesystem::remove(*file->path);
  }

  /// One hostile file has five seconds; the rest is for machines that have other things to do.
  static constexpr std::chrono::seconds kTimeForBlock{60};
  static constexpr long kMostMebibytes = 512;

  CatchingSink<Block<MetaDataInfo*>> sink;
  MSDMiner miner{"MSDMiner"};
  boost::shared_ptr<Block<FileInfo*>> block = emptyBlock();
  std::size_t files = 0;
  double slowest = 0;
  long largest = 0;
};

constexpr std::size_t kManySmallOnes = 100;

TEST_F(HostileMedia, Damaged) {
  media.damaged(casesOf(5500, 2000000), mineIn(kManySmallOnes));
}

TEST_F(HostileMedia, Nested) {
  BrokenMedia::nested(mineIn(1));
}

TEST_F(HostileMedia, Bombs) {
  BrokenMedia::bombs(mineIn(1));
}

TEST_F(HostileMedia, Large) {
  BrokenMedia::large(mineIn(1));
}

TEST_F(HostileMedia, Giants) {
  BrokenMedia::sparse(mineIn(1));
}

}  // namespace
}  // namespace orvel::test
