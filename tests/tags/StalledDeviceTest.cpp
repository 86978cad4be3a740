#define FUSE_USE_VERSION 31
#include <fuse3/fuse.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <semaphore>
#include <thread>

#include "msd/MSDMiner.h"
#include "tags/isolation/IsolatedTagReader.h"
#include "tests/endtoend/Song.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

/// A stick whose every file is the same song, and whose file "/stalled.mp3" is not delivered until
/// it goes away.
class StallingStick {
 public:
  StallingStick(std::string mountPoint, std::string songContent)
      : path(std::move(mountPoint)), content(std::move(songContent)) {
    fuse_operations operations{};
    operations.getattr = [](const char* name, struct stat* status, fuse_file_info*) {
      const bool isRoot = std::strcmp(name, "/") == 0;
      status->st_mode = isRoot ? S_IFDIR | 0755 : S_IFREG | 0644;
      status->st_nlink = 1;
      status->st_size = static_cast<off_t>(self().content.size());
      return 0;
    };
    operations.read = [](const char* name, char* target, std::size_t bytes, off_t offset,
                         fuse_file_info*) {
      if (std::strcmp(name, "/stalled.mp3") == 0) self().released.acquire();
      return static_cast<int>(self().content.copy(target, bytes, static_cast<std::size_t>(offset)));
    };
    std::array<char*, 1> name = {const_cast<char*>("stick")};
    fuse_args arguments = FUSE_ARGS_INIT(1, name.data());
    session = fuse_new(&arguments, &operations, sizeof operations, this);
    if (session == nullptr || fuse_mount(session, path.c_str()) != 0) return;
    isMounted = true;
    serving = std::thread([this] { fuse_loop_mt(session, 0); });
  }

  ~StallingStick() {
    released.release(1000);
    if (isMounted) {
      fuse_exit(session);
      fuse_unmount(session);
      serving.join();
    }
    if (session != nullptr) fuse_destroy(session);
  }

  std::string path;
  bool isMounted = false;

 private:
  static StallingStick& self() {
    return *static_cast<StallingStick*>(fuse_get_context()->private_data);
  }

  std::string content;
  std::counting_semaphore<> released{0};
  struct fuse* session = nullptr;
  std::thread serving;
};

class StalledDevice : public DatabaseFolderFixture {
 protected:
  StalledDevice() {
    writeSong(temporary.path("song.mp3"), {"Good", "X"});
    std::ifstream in(temporary.path("song.mp3"), std::ios::binary);
    stick = std::make_unique<StallingStick>(temporary.folder("stick"),
                                            std::string(std::istreambuf_iterator<char>(in), {}));
  }

  LogCapture log;
  std::unique_ptr<StallingStick> stick;
};

TEST_F(StalledDevice, IsNotBlamedOnTheFileThatIsToBeRead) {
  if (!stick->isMounted) GTEST_SKIP() << "no FUSE file system can be mounted here";
  MSDMiner miner("MSDMiner", std::make_shared<MountPointWatch>(), [](std::stop_token token) {
    return std::make_unique<IsolatedTagReader>(std::move(token), ORVEL_TAG_READER,
                                               std::chrono::milliseconds(700));
  });
  const auto block =
      boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", stick->path, true));
  for (const char* name : {"/a.mp3", "/stalled.mp3", "/b.mp3"}) {
    block->items.push_back(new FileInfo(stick->path + name, 0, 5));
  }
  const auto songs = miner.doOperation(block);
  ASSERT_THAT(songs->items, SizeIs(1));
  EXPECT_EQ(songs->items[0]->title, "Good");
  EXPECT_TRUE(songs->operation.skipped) << "songs that were not read would never be";
  EXPECT_THAT(miner.progress->snapshot().leftUndone,
              ElementsAre("the device could not be read in places"));
  EXPECT_THAT(log.texts("waits for the device for track: " + stick->path + "/stalled.mp3"),
              SizeIs(1));
}

}  // namespace
}  // namespace orvel::test
