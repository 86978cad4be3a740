#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "tests/endtoend/Song.h"
#include "tests/faults/Contents.h"
#include "tests/faults/FaultStick.h"
#include "tests/faults/OwnMounts.h"
#include "tests/support/Effort.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;

constexpr long kKibibyte = 1024;

/// A file system of its own size at a folder while it lives.
class SmallDisk {
 public:
  SmallDisk(std::string folder, long bytes) : mountPoint(std::move(folder)) { mountWith(0, bytes); }
  ~SmallDisk() { umount2(mountPoint.c_str(), MNT_DETACH); }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  void enlarge(long bytes) { mountWith(MS_REMOUNT, bytes); }

 private:
  void mountWith(unsigned long flags, long bytes) {
    const std::string options = "mode=0700,size=" + std::to_string(bytes);
    if (mount("tmpfs", mountPoint.c_str(), "tmpfs", flags, options.c_str()) != 0) {
      throw std::system_error(errno, std::generic_category(), mountPoint);
    }
  }

  std::string mountPoint;
};

/// A stick whose database takes some 4 MiB with its log, and disks that are too small for it.
class NoSpaceTest : public OwnMounts, public FaultStick {
 protected:
  void SetUp() override {
    if (kIsSanitized)
      GTEST_SKIP() << "FailingVfsTest has the sanitizers see full disks, in less time";
    if (!obstacle().empty()) GTEST_SKIP() << obstacle();
    constexpr int kSongs = 2800;
    constexpr int kDifferent = 40;
    const auto song = [this](int i) { return temporary.path("song" + std::to_string(i) + ".mp3"); };
    for (int i = 0; i < kDifferent; ++i) {
      const std::string n = std::to_string(i);
      writeSong(song(i), {std::string(200, 't') + n, "Artist " + n, "Album " + n, "Genre " + n});
    }
    for (int i = 0; i < kSongs; ++i) {
      const std::string folder = temporary.folder("stick/folder " + std::to_string(i % 100));
      fs::create_hard_link(song(i % kDifferent), folder + "/song " + std::to_string(i) + ".mp3");
    }
    temporary.file("stick/list.m3u", "folder 0/song 0.mp3\nfolder 1/song 1.mp3\n");
    complete = indexFresh();
    std::printf("the database has %ld KiB\n",
                static_cast<long>(fs::file_size(database())) / kKibibyte);
  }

  void run(long bytes) {
    SCOPED_TRACE(std::to_string(bytes / kKibibyte) + " KiB");
    beginCase();
    SmallDisk disk(manager.directory(), bytes);
    start(kDevice, stick);
    EXPECT_TRUE(waitUntilEnded());
    const std::string status = manager.getStatus(kDevice, stick);
    EXPECT_EQ(progress().status, status);
    if (status == "OK" || storedStatus() == "OK") {
      EXPECT_EQ(contentsOf(database()), complete);
      ++sufficient;
    }
    disk.enlarge(64L << 20);
    index(kDevice, stick);
    EXPECT_EQ(manager.getStatus(kDevice, stick), "OK");
    EXPECT_EQ(contentsOf(database()), complete);
    EXPECT_EQ(integrityOf(database()), "ok");
  }

  std::vector<std::string> complete;
  int sufficient = 0;
};

TEST_F(NoSpaceTest, EndsWithoutALieAndCompletesWithSpace) {
  std::mt19937_64 random = seededRandom();
  constexpr long kStep = 64 * kKibibyte;
  constexpr long kSizes = 6 * kKibibyte * kKibibyte / kStep;
  const auto sizes = spread(kSizes, casesOf(8, kSizes), random);
  for (const long size : sizes) run(size * kStep);
  std::printf("%zu sizes, of which %d were sufficient\n", sizes.size(), sufficient);
}

}  // namespace
}  // namespace orvel::test
