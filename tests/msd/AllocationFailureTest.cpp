#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "msd/MSDCrawler.h"
#include "msd/Normalizer.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/TemporaryFolder.h"

namespace {

thread_local long allocations = 0;
thread_local long failingAllocation = -1;  ///< counts like `allocations`

void* allocate(std::size_t bytes) {
  if (++allocations == failingAllocation) throw std::bad_alloc();
  if (void* memory = std::malloc(bytes == 0 ? 1 : bytes)) return memory;
  throw std::bad_alloc();
}

/// Runs `work` with its n-th allocation failing; returns whether it got that far.
template <class Work>
bool failsAt(long n, Work work) {
  allocations = 0;
  failingAllocation = n;
  try {
    work();
    failingAllocation = -1;
    return false;
  } catch (const std::bad_alloc&) {
    failingAllocation = -1;
    return true;
  }
}

}  // namespace

void* operator new(std::size_t bytes) {
  return allocate(bytes);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
  std::free(memory);
}

namespace orvel::test {
namespace {

TEST(AllocationFailure, ACrawlThatFailsStillSendsItsOtherBranchesOnce) {
  const TemporaryFolder stick;
  for (const char* file : {"a.mp3", "A/b.mp3", "A/B/c.mp3", "p.m3u", "C/q.pls"}) stick.file(file);
  const Operation operation(1, 0, "a device with a long identifier", stick.path(), true);
  allocations = 0;
  for (int i = 0; i < 2; ++i) boost::make_shared<Block<FileInfo*>>(operation);
  const long outputs = allocations;  // without its output blocks there is nothing to send
  bool failed = true;
  for (long n = outputs + 1; failed; ++n) {
    MSDCrawler crawler("MSDCrawler");
    CatchingSink<Block<FileInfo*>> lists;
    CatchingSink<Block<Directory*>> folders;
    crawler.playlistSink = &lists;
    crawler.directorySink = &folders;
    crawler.start();
    const auto root = boost::make_shared<Block<Directory*>>(operation);
    root->items.push_back(new Directory(stick.path(), stick.path(), -1));
    failed = failsAt(n, [&] { crawler.doOperation(root); });
    const auto sentLists = lists.take();
    const auto sentFolders = folders.take();
    ASSERT_TRUE(sentLists.size() == 1 && sentFolders.size() == 1) << "allocation " << n;
    EXPECT_TRUE(sentLists[0]->operation.last && sentFolders[0]->operation.last);
    EXPECT_EQ(sentLists[0]->operation.skipped && sentFolders[0]->operation.skipped, failed);
    EXPECT_TRUE(failed || n > outputs + 20);
  }
}

TEST(AllocationFailure, EveryFileHasOneOwnerWhileBatchesAreMade) {
  bool failed = true;
  for (long n = 1; failed; ++n) {
    CatchingSink<Block<FileInfo*>> sink;
    Normalizer normalizer("Normalizer");
    normalizer.sink = &sink;
    auto block = boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", "/m", true));
    for (int i = 0; i < 1234; ++i) block->items.push_back(new FileInfo("f", 0, i));
    boost::shared_ptr<Block<FileInfo*>> last;
    failed = failsAt(n, [&] { last = normalizer.doOperation(block); });
    std::size_t owned = last ? last->items.size() : 0;
    for (const auto& batch : sink.take()) owned += batch->items.size();
    for (const FileInfo* file : block->items) owned += file != nullptr ? 1 : 0;
    EXPECT_TRUE(failed || owned == 1234);
  }
}

}  // namespace
}  // namespace orvel::test
