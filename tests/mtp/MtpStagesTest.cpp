#include <gmock/gmock.h>

#include <thread>

#include <orvel/MtpDevice.h>
#include "base/Log.h"
#include "mtp/MtpCrawler.h"
#include "mtp/MtpDirectorySaver.h"
#include "mtp/MtpMiner.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedPhone.h"
#include "tests/support/sparseSong.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kMountPoint[] = "mtp-folder://phone1";

class MtpStagesTest : public DatabaseFolderFixture {
 protected:
  MtpStagesTest() {
    manager.createDb("phone1", kMountPoint, true);
    crawler.playlistSink = &playlists;
    crawler.directorySink = &directories;
    crawler.start();
  }

  Operation operation() const { return {5, phone.handle, "phone1", kMountPoint, true}; }
  boost::shared_ptr<Block<FileInfo*>> crawl() {
    const auto root = boost::make_shared<Block<Directory*>>(operation());
    root->add(std::make_unique<Directory>(kMountPoint, kMountPoint, -1));
    return crawler.doOperation(root);
  }
  boost::shared_ptr<Block<FileInfo*>> items(const std::vector<std::string>& paths) const {
    const auto block = boost::make_shared<Block<FileInfo*>>(operation());
    for (const auto& path : paths) {
      block->add(std::make_unique<FileInfo>(path, phone.idOf(path), 0));
    }
    return block;
  }

  ScriptedPhone phone;
  LogCapture log;
  CatchingSink<Block<FileInfo*>> playlists;
  CatchingSink<Block<MtpDirectory*>> directories;
  MtpCrawler crawler{"MtpCrawler"};
};

TEST_F(MtpStagesTest, TheCrawlerSendsTracksPlaylistsAndFolders) {
  for (int i = 0; i < 249; ++i) phone.device.addTrack("/Music/" + std::to_string(i) + ".mp3");
  const Readiness readiness(phone.plugIn());
  const auto tracks = crawl();
  ASSERT_THAT(tracks->items, SizeIs(250));
  EXPECT_EQ(*tracks->items.back()->path, "/Music/A/s.mp3");
  EXPECT_EQ(tracks->items.back()->auxWord, phone.idOf("/Music/A/s.mp3"));
  EXPECT_EQ(tracks->items.back()->lastModified, 0);
  const auto sentPlaylists = playlists.take();
  ASSERT_THAT(sentPlaylists, SizeIs(1));
  EXPECT_TRUE(sentPlaylists[0]->operation.last);
  EXPECT_EQ(*sentPlaylists[0]->items.at(0)->path,
            "mtp-playlist://" + std::to_string(phone.idOf("/Best")) + "/Best");
  const auto sentDirectories = directories.take();
  ASSERT_THAT(sentDirectories, SizeIs(1));
  EXPECT_THAT(sentDirectories[0]->items, SizeIs(3));
  EXPECT_FALSE(tracks->operation.skipped || sentDirectories[0]->operation.skipped);
  EXPECT_THAT(
      log.texts("Craweled track"),
      ElementsAre("Craweled track 0/250", "Craweled track 100/250", "Craweled track 200/250"));
  EXPECT_THAT(log.texts("found 250"), SizeIs(1));
}

TEST_F(MtpStagesTest, ADeviceThatIsNotReadyGivesEmptyBlocksMarkedSkipped) {
  phone.plugIn();
  std::jthread unplug([&] {
    log.waitFor("waitDeviceReady");
    MtpDevice::instance().disconnectDevice(phone.handle);
    // Another device's readiness ends the wait, too, once it has begun.
    while (log.count("wait returned false") == 0) {
      MtpDevice::instance().setDeviceReady(phone.handle + 1);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  const auto tracks = crawl();
  EXPECT_THAT(tracks->items, IsEmpty());
  EXPECT_TRUE(tracks->operation.last && tracks->operation.skipped);
  EXPECT_EQ(log.levelOf("wait returned false"), LogLevel::Error);
  EXPECT_EQ(log.levelOf("setInterrupted device is not ready"), LogLevel::Warning);
  EXPECT_TRUE(playlists.take().at(0)->operation.skipped);
  EXPECT_TRUE(directories.take().at(0)->operation.skipped);
}

TEST_F(MtpStagesTest, TheMinerReadsAHugeTrackItself) {
  const std::string path = temporary.path("huge.mp3");
  writeSparseSong(path, "Huge", kThreeGibibytes);
  phone.device.addTrack("/Music/huge.mp3").file = path;
  const Readiness readiness(phone.plugIn());
  crawl();
  const auto songs = MtpMiner("MtpMiner").doOperation(items({"/Music/huge.mp3"}));
  ASSERT_THAT(songs->items, SizeIs(1));
  EXPECT_EQ(songs->items[0]->title, "Huge");
}

TEST_F(MtpStagesTest, TheMinerMakesRecordsUntilTheDeviceIsGoneOrTheDatabaseFull) {
  phone.device.addTrack("/Music/t.mp3").tags = tags("U", "Y");
  phone.device.addTrack("/Music/u.ogg").tags = tags("V", "Y");
  const Readiness readiness(phone.plugIn());
  crawl();
  const auto three = {std::string("/Music/A/s.mp3"), std::string("/Music/u.ogg"),
                      std::string("/Music/t.mp3")};
  MtpMiner miner("MtpMiner");
  auto songs = miner.doOperation(items(three));
  ASSERT_THAT(songs->items, SizeIs(2));
  EXPECT_EQ(songs->items[1]->title, "U");
  EXPECT_TRUE(songs->operation.last && !songs->operation.skipped);
  EXPECT_EQ(log.count("MtpMiner for: 3 (op: 5) MP: mtp-folder://phone1"), 1);

  rowsOf("phone1", "CREATE TABLE FILLER(X); INSERT INTO FILLER VALUES(zeroblob(89000000));");
  songs = miner.doOperation(items(three));
  EXPECT_THAT(songs->items, IsEmpty());
  EXPECT_TRUE(songs->operation.last && !songs->operation.skipped);
  EXPECT_EQ(log.count("MtpMiner SKIPPED db size limit reached (op: 5)"), 1);
  manager.deleteDb("phone1");

  phone.live->remove();
  EXPECT_FALSE(isAttached(phone.handle));
  MtpDevice::instance().disconnectDevice(phone.handle);
  songs = miner.doOperation(items(three));
  EXPECT_THAT(songs->items, IsEmpty());
  EXPECT_TRUE(songs->operation.skipped) << "work was left undone";
}

TEST_F(MtpStagesTest, DirectoriesAreRewrittenWhenTheyChangedAndNotFromACutCrawl) {
  const auto block = [&](const std::vector<std::string>& paths) {
    auto made = boost::make_shared<Block<MtpDirectory*>>(operation());
    for (const auto& path : paths) {
      auto directory = std::make_unique<MtpDirectory>();
      directory->path = path;
      directory->objectId = Md5(Md5Kind::Directory, path);
      directory->parentPath = "phone1";
      directory->parentIsRoot = true;
      made->add(std::move(directory));
    }
    return made;
  };
  MtpDirectorySaver saver("MtpDirectorySaver");
  saver.start();
  EXPECT_TRUE(saver.doOperation(block({"/b", "/a"}))->operation.last);
  const std::string stored = "SELECT ROWID, PATH, PARENT_ID FROM DIRECTORIES ORDER BY PATH";
  EXPECT_THAT(rowsOf("phone1", stored), ElementsAre("2|/a|phone1", "1|/b|phone1"));
  saver.doOperation(block({"/a", "/b"}));
  EXPECT_EQ(log.count("RNC: Did not find changes"), 1);
  const auto cut = block({"/a"});
  cut->operation.skipped = true;
  EXPECT_TRUE(saver.doOperation(cut)->operation.skipped);
  EXPECT_THAT(rowsOf("phone1", stored), SizeIs(2));
  saver.doOperation(block({"/c"}));
  EXPECT_THAT(rowsOf("phone1", stored), ElementsAre("1|/c|phone1"));
}

}  // namespace
}  // namespace orvel::test
