#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <set>

#include "base/DeviceRoot.h"
#include "base/Limits.h"
#include "base/Log.h"
#include "msd/MSDCrawler.h"
#include "msd/MSDWalk.h"
#include "tags/MediaKind.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/Effort.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TemporaryFolder.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

/// One walk over a temporary stick.
class Crawl : public testing::Test {
 protected:
  void walk(const std::function<WalkGoesOn()>& ask = [] { return WalkGoesOn::Yes; }) {
    directories.items.push_back(new Directory(stick, stick, -1));
    const WalkHost host{ask, [this](LeftUndone reason) { undone.insert(reason); },
                        [this](const std::string&) { undone.insert(LeftUndone::ReadError); }};
    MSDWalk(directories, songs, playlists, watch, progress, host).run();
  }

  std::string relative(const std::string& path) const {
    return path.size() > stick.size() ? path.substr(stick.size() + 1) : "";
  }
  std::vector<std::string> namesOf(const Block<FileInfo*>& block) const {
    std::vector<std::string> names;
    for (const FileInfo* file : block.items) names.push_back(relative(*file->path));
    return names;
  }

  TemporaryFolder temporary;
  std::string stick = temporary.folder("stick");
  Operation operation{1, 0, "dev", stick, true};
  Block<Directory*> directories{operation};
  Block<FileInfo*> songs{operation};
  Block<FileInfo*> playlists{operation};
  MountPointWatch watch;
  RequestProgress progress;
  std::set<LeftUndone> undone;
  LogCapture log;
};

TEST(MediaKind, GoesByTheFirstOccurrenceOfTheExtension) {
  for (const char* song :
       {"a.mp3", "a.m4b", "a.m4a", "a.wma", "a.aac", "a.wav", "a.mpg", "a.mpeg", "a.asf", "a.m4p",
        "a.FLAC", "a.m4r", "a.Mp4", ".mp3", "a.mp3.mp4", "\xFF.mp3", "x.m3u.mp3"}) {
    EXPECT_EQ(mediaKindOf(song), MediaKind::Song) << song;
  }
  for (const char* list : {"l.m3u", "l.M3U8", "l.pls", "l.asx", "l.wpl", "l.mp3x.m3u"}) {
    EXPECT_EQ(mediaKindOf(list), MediaKind::Playlist) << list;
  }
  for (const char* other : {"", "mp3", "a.ogg", "a.mp3.mp3", "x.mp3b.mp3", "a.mp3 ", "a.mp",
                            "l.m3u8.m3u8", "a.mp3\n"}) {
    EXPECT_EQ(mediaKindOf(other), MediaKind::Other) << other;
  }
}

TEST_F(Crawl, FindsWhatARealTreeHolds) {
  for (const char* file :
       {"stick/Music/a.mp3", "stick/Music/.hidden.mp3", "stick/.Trash-1000/b.mp3",
        "stick/.TRASH/c.mp3", "stick/$RECYCLE.BIN/d.mp3", "stick/Lists/p.m3u", "stick/Lists/.q.pls",
        "stick/Music/e.mp3.mp3", "stick/Deep/er/f.FLAC", "stick/folder.mp3/g.wav",
        "stick/Music/\xFF\n.mp3", "outside/h.mp3"}) {
    temporary.file(file);
  }
  ASSERT_EQ(mkfifo((stick + "/Music/fifo.mp3").c_str(), 0600), 0);
  fs::create_symlink("../outside/h.mp3", stick + "/link.mp3");
  fs::create_symlink(temporary.path("outside/h.mp3"), stick + "/absolute.mp3");
  fs::create_symlink("nowhere.mp3", stick + "/dangling.mp3");
  fs::create_symlink("self.mp3", stick + "/self.mp3");
  fs::create_directory_symlink("..", stick + "/Deep/loop");
  fs::create_directory_symlink(".", stick + "/Deep/er/self");
  fs::create_directory_symlink("Music", stick + "/Again");
  walk();
  EXPECT_THAT(namesOf(songs),
              UnorderedElementsAre("Music/a.mp3", ".Trash-1000/b.mp3", "Deep/er/f.FLAC",
                                   "folder.mp3/g.wav", "Music/\xFF\n.mp3", "link.mp3",
                                   "absolute.mp3", "Again/a.mp3", "Again/\xFF\n.mp3"));
  EXPECT_THAT(namesOf(playlists), ElementsAre("Lists/p.m3u"));
  std::vector<std::string> found;
  for (const Directory* directory : directories.items) {
    const int parent = directory->parentIndex;
    EXPECT_EQ(parent < 0 ? stick : directories.items[static_cast<std::size_t>(parent)]->path,
              parent < 0 ? directory->path : parentPath(directory->path));
    found.push_back(relative(directory->path) + (directory->hasMusic ? "*" : ""));
  }
  EXPECT_THAT(found, UnorderedElementsAre("*", "Music*", ".Trash-1000*", "Lists", "Deep",
                                          "Deep/er*", "folder.mp3*", "Again*"));
  EXPECT_THAT(undone, IsEmpty());
  EXPECT_THAT(log.texts(), ElementsAre());
}

/// Links and mounts that lead off the device: to the host's memory, to its other file systems.
TEST_F(Crawl, NothingOfADeviceLeadsOffIt) {
  temporary.file("stick/a.mp3");
  fs::create_symlink("/proc/self/maps", stick + "/maps.mp3");
  if (!kIsEmulated) {  // it has no openat2; these two lead to the file system that they are on
    fs::create_symlink("/proc/self/exe", stick + "/exe.mp3");
    fs::create_directory_symlink("/proc/self/root", stick + "/root");
  }
  fs::create_directory_symlink("/proc", stick + "/proc");
  walk();
  EXPECT_THAT(namesOf(songs), ElementsAre("a.mp3"));
  EXPECT_THAT(directories.items, SizeIs(1));
  EXPECT_THAT(log.texts("passed over, since it leads to another file system: "), SizeIs(1));
  EXPECT_THAT(undone, IsEmpty());
  struct statx status {};
  EXPECT_TRUE(!DeviceRoot(stick).open(stick + "/maps.mp3", status) && errno == EXDEV)
      << "replaced by a link since it was listed";
}

TEST_F(Crawl, AFolderThatRefusesIsPassedOver) {
  temporary.file("stick/Closed/a.mp3");
  temporary.file("stick/Open/b.mp3");
  chmod(temporary.path().c_str(), 0755);
  chmod((stick + "/Closed").c_str(), 0);
  const int earlier = setfsuid(65534);  // root itself is refused nothing
  walk();
  setfsuid(static_cast<uid_t>(earlier));
  chmod((stick + "/Closed").c_str(), 0700);
  EXPECT_THAT(namesOf(songs), ElementsAre("Open/b.mp3"));
  EXPECT_EQ(log.levelOf("Error opening dir: " + stick + "/Closed"), LogLevel::Warning);
  EXPECT_EQ(log.levelOf("go on"), LogLevel::Warning);
  EXPECT_THAT(undone, IsEmpty());
}

TEST_F(Crawl, APathThatIsTooLongCostsItselfOnly) {
  temporary.file("stick/a.mp3");
  const std::string name(250, 'd');
  int folder = open(stick.c_str(), O_RDONLY | O_DIRECTORY);
  for (int depth = 0; depth < 20; ++depth) {
    ASSERT_EQ(mkdirat(folder, name.c_str(), 0700), 0);
    const int below = openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY);
    close(folder);
    folder = below;
  }
  close(folder);
  walk();
  EXPECT_THAT(namesOf(songs), ElementsAre("a.mp3"));
  EXPECT_THAT(undone, IsEmpty());
}

TEST_F(Crawl, AMountPointThatGoesEndsTheWalk) {
  for (const char* file : {"stick/A/a.mp3", "stick/B/b.mp3", "stick/C/c.mp3"}) temporary.file(file);
  walk([&, asked = 0]() mutable {
    if (++asked == 7) fs::rename(stick, temporary.path("away"));
    return WalkGoesOn::Yes;
  });
  const std::string line = "MOUNT POINT IS NOT PRESENT ANYMORE " + stick + ": 2";
  EXPECT_EQ(log.levelOf(line), LogLevel::Error);
  EXPECT_EQ(log.count(line), 1);
  EXPECT_LT(songs.items.size(), 3U);
  EXPECT_THAT(undone, ElementsAre(LeftUndone::MountPointGone));
}

TEST_F(Crawl, AnotherFileSystemInItsPlaceCountsAsGone) {
  watch.remember(1, "/proc");
  EXPECT_EQ(watch.missing(1, "/proc"), 0);
  EXPECT_EQ(watch.missing(1, stick), ENODEV);
  EXPECT_EQ(watch.missing(2, stick), 0) << "nothing is known of another request";
  EXPECT_EQ(watch.missing(1, stick + "/none"), ENOENT);
}

TEST_F(Crawl, StopsAtTheLimitOfSongs) {
  for (const char* file : {"stick/A/a.mp3", "stick/A/b.mp3", "stick/B/c.mp3"}) temporary.file(file);
  setLimits({.songs = 2});
  walk();
  EXPECT_THAT(songs.items, SizeIs(2));
  EXPECT_EQ(log.levelOf("2 track reached"), LogLevel::Warning);
  EXPECT_TRUE(progress.snapshot().limitReached && !progress.snapshot().folderLimitReached);
  EXPECT_THAT(undone, IsEmpty()) << "the rest is left out on purpose";
}

TEST_F(Crawl, StopsAtTheLimitOfFolders) {
  for (const char* file : {"stick/A/a.mp3", "stick/B/b.mp3", "stick/C/c.mp3"}) temporary.file(file);
  setLimits({.folders = 2});
  walk();
  setLimits({});
  EXPECT_THAT(directories.items, SizeIs(2));
  EXPECT_EQ(log.count("2 folders reached"), 1);
  EXPECT_TRUE(progress.snapshot().folderLimitReached);
  EXPECT_THAT(undone, IsEmpty());
}

/// Without a rule these ten folders have millions of paths.
TEST_F(Crawl, EntersAFolderThroughOneLinkOnly) {
  constexpr int kFolders = 10;
  for (int i = 0; i < kFolders; ++i) {
    const std::string folder = temporary.folder("stick/" + std::to_string(i));
    temporary.file("stick/" + std::to_string(i) + "/a.mp3");
    for (int other = 0; other < kFolders; ++other) {
      const std::string name = std::to_string(other);
      fs::create_directory_symlink("../" + name, folder + "/" + name);
    }
  }
  walk();
  EXPECT_THAT(directories.items, SizeIs(1 + 2 * kFolders)) << "each folder, and a link to each";
  EXPECT_THAT(songs.items, SizeIs(2 * kFolders));
}

TEST_F(Crawl, APauseCutsListingsAndAStopTheWalk) {
  for (const char* file : {"stick/A/a.mp3", "stick/A/b.mp3", "stick/B/c.mp3"}) temporary.file(file);
  int asked = 0;
  walk([&] { return ++asked > 4 ? WalkGoesOn::Paused : WalkGoesOn::Yes; });
  EXPECT_GE(asked, 6) << "each further folder is still asked for";
  EXPECT_THAT(undone, ElementsAre(LeftUndone::Interrupted));
}

}  // namespace
}  // namespace orvel::test
