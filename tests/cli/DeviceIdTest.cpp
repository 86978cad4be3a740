#include "host/DeviceId.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/TemporaryFolder.h"

namespace orvel::host {
namespace {

/// Describes mounts that are not there, with /dev/null and /dev/zero for the sticks' devices.
class DeviceIdTest : public testing::Test {
 protected:
  DeviceIdTest() {
    for (const char* name : {"my stick", "twice", "bound", "memory", "plain"}) {
      std::filesystem::create_directory(path(name));
    }
    std::filesystem::create_directory_symlink(path("my stick"), path("link"));
    std::filesystem::create_directory(files.uuidLinks);
    std::filesystem::create_directory(files.labelLinks);
    std::filesystem::create_symlink("/dev/urandom", files.labelLinks + "/MY\\x20\\x1b[2JSTICK");
    std::filesystem::create_symlink("/dev/null", files.uuidLinks + "/2A4B-11C0");
    std::filesystem::create_symlink("/dev/zero", files.uuidLinks + "/..\\x2fevil");
    std::filesystem::create_symlink("/dev/zero", files.uuidLinks + "/0b1e-ext");
    std::ofstream(files.mountInfo)
        << "22 1 1:3 / " << path("my\\040stick") << " rw,relatime shared:1 - vfat /dev/null rw\n"
        << "23 1 1:3 / " << path("twice") << " rw - vfat /dev/null rw\n"
        << "24 1 1:5 / " << path("twice") << " rw shared:2 master:1 - ext4 /dev/zero rw\n"
        << "25 1 1:3 /Music " << path("bound") << " rw - vfat /dev/null rw\n"
        << "26 1 0:9 / " << path("memory") << " rw - tmpfs tmpfs rw\n"
        << "27 1 1:8 / /media/me/plain\\040one rw - vfat /dev/random rw\n"
        << "28 1 1:9 / /media/labelled rw - vfat /dev/urandom rw\n";
  }

  std::string path(const std::string& name) const { return folder.path(name); }
  std::string idOf(const std::string& name) const { return defaultDeviceId(path(name), files); }

  test::TemporaryFolder folder;
  MountFiles files{folder.path("mountinfo"), folder.path("by-uuid"), folder.path("by-label")};
};

TEST_F(DeviceIdTest, IsTheUuidWhereAWholeFileSystemIsMounted) {
  EXPECT_EQ(idOf("my stick"), "2A4B-11C0");
  EXPECT_EQ(idOf("link"), "2A4B-11C0");
  EXPECT_EQ(idOf("twice"), "0b1e-ext") << "the later mount hides the earlier";
}

TEST_F(DeviceIdTest, IsThePathElsewhere) {
  for (const char* name : {"bound", "memory", "plain", "absent"}) EXPECT_EQ(idOf(name), path(name));
  files.uuidLinks += "/absent";
  EXPECT_EQ(idOf("my stick"), path("my stick"));
  files.mountInfo += "/absent";
  EXPECT_EQ(idOf("my stick"), path("my stick"));
}

TEST_F(DeviceIdTest, MediaAreKnownByTheirLabelsOrFolders) {
  const std::vector<MountedMedium> media = mountedMedia(files);
  ASSERT_EQ(media.size(), 2U);
  EXPECT_EQ(media[0].label, "plain one");
  EXPECT_EQ(media[0].mountPoint, "/media/me/plain one");
  EXPECT_EQ(media[1].label, "MY [2JSTICK");
}

}  // namespace
}  // namespace orvel::host
