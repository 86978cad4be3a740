#include "mtp/MtpConnection.h"

#include <gmock/gmock.h>

#include <orvel/MtpDevice.h>
#include "base/Log.h"
#include "db/MetaDataInfo.h"
#include "db/Playlist.h"
#include "phones/Access.h"
#include "phones/MtpUtils.h"
#include "phones/OwnedList.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedPhone.h"

namespace orvel::test {
namespace {

using scripted::Fault;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kKey[] = "mtp-folder://phone1";

/// A connection with a phone that is plugged in by `connect`.
class MtpConnectionTest : public testing::Test {
 protected:
  void connect() {
    MtpDevice::instance().setDeviceConnected(phone.plugIn());
    connection = std::make_unique<MtpConnection>(phone.handle, deviceId);
  }
  bool load() { return connection->loadDeviceData(tracks.out(), playlists.out()); }
  void walk() {
    connect();
    ASSERT_TRUE(connection->crawlMtpDevice());
  }
  std::unique_ptr<MetaDataInfo> track(const std::string& path = kSong) {
    return connection->generateTrack("", kKey, phone.idOf(path), 0);
  }
  Fault& fault(const char* at, t_status status, unsigned times = scripted::kForEver) {
    return phone.device.addFault({.at = at, .times = times, .status = status});
  }
  DeviceTags& songTags() { return *phone.device.find(kSong)->tags; }

  static constexpr char kSong[] = "/Music/A/s.mp3";
  const std::string deviceId = "phone1";
  ScriptedPhone phone;
  LogCapture log;
  std::unique_ptr<MtpConnection> connection;
  OwnedElements tracks, playlists;
};

TEST_F(MtpConnectionTest, TextsOfATrackAreTidiedAndNeverEmptyOnTheDevicesRoad) {
  songTags() = {" Song\nName ", "  ", "\tAlbum ", "", "C\nD\n", 7};
  walk();
  const auto song = track();
  ASSERT_NE(song, nullptr);
  EXPECT_EQ(song->path, kSong);
  EXPECT_EQ(song->title, "SongName");
  EXPECT_EQ(song->artist, "Various Artists");
  EXPECT_EQ(song->album, "\tAlbum") << "only spaces are stripped";
  EXPECT_EQ(song->genre, "Various Genre");
  EXPECT_EQ(song->composer, "CD\n") << "only the first line feed is removed";
  EXPECT_EQ(song->trackNumber, 7);
  EXPECT_EQ(song->discNumber, 1);
  EXPECT_EQ(song->objectId, MtpUtils::getObjectIdForMtpTrack(phone.idOf(kSong), deviceId));
}

TEST_F(MtpConnectionTest, AFailingCallIsReportedAndLeavesItsDefault) {
  fault("Access_GetTrackArtist", STATUS_BUSY);
  fault("Access_GetTrackAlbum", STATUS_NOT_OK_GENERIC_PLUGIN_ERROR);
  fault("Access_GetTrackComposer", -42);
  fault("Access_GetTrackTitle", STATUS_NOT_SUPPORTED);
  fault("Access_GetTrackAlbumTrackIndex", STATUS_NOT_OK);
  phone.device.addTrack("/Music/my.first.song").tags = tags("T", "X");
  walk();
  log.clear();
  const auto song = track("/Music/my.first.song");
  EXPECT_EQ(song->title, "my.first");
  EXPECT_EQ(song->artist, "Various Artists");
  EXPECT_EQ(song->album, "Various Albums");
  EXPECT_EQ(song->composer, "Various Composers");
  EXPECT_EQ(song->trackNumber, 0);
  EXPECT_THAT(
      log.texts("Fail to invoke"),
      ElementsAre(" - Fail to invoke method: Access_GetTrackTitle . - STATUS NOT SUPPORTED!",
                  " - Fail to invoke method: Access_GetTrackArtist . - UNKNOWN ERROR!",
                  " - Fail to invoke method: Access_GetTrackAlbum . - : STATUS NOT OK GENERIC "
                  "PLUGIN ERROR!",
                  " - Fail to invoke method: Access_GetTrackComposer . - UNKNOWN ERROR!",
                  " - Fail to invoke method: Access_GetTrackAlbumTrackIndex . - STATUS NOT OK!"));
}

TEST_F(MtpConnectionTest, OnlyTitleAndNameAreAskedAgainWhileTheDeviceIsBusy) {
  fault("Access_GetTrackTitle", STATUS_BUSY, 1);
  fault("Access_GetTrackFileName", STATUS_BUSY, 1);
  songTags().title = "T";
  walk();
  EXPECT_EQ(track()->title, "T");
  EXPECT_THAT(log.texts(" Processing"), ElementsAre(" Processing from portix API. count = 1"));
  phone.device.faults[0].status = STATUS_NOT_OK;
  phone.update();
  EXPECT_EQ(track()->title, "s");
  EXPECT_THAT(log.texts(" Processing"), SizeIs(2));
}

TEST_F(MtpConnectionTest, ATrackWithoutDeviceTagsIsReadFromItsBytesWithoutDefaults) {
  phone.device.addTrack("/Music/plain.mp3").content = "no song at all";
  walk();
  log.clear();
  const auto song = track("/Music/plain.mp3");
  ASSERT_NE(song, nullptr) << "an unreadable track is a song all the same";
  EXPECT_EQ(song->title + song->artist + song->album + song->genre + song->composer, "");
  const std::string id = std::to_string(phone.idOf("/Music/plain.mp3"));
  EXPECT_EQ(log.count("Track with ID " + id +
                      " is unsupported. Device handle: " + std::to_string(phone.handle)),
            1);
}

TEST_F(MtpConnectionTest, HiddenExcludedAndRemovedTracksGiveNoRecord) {
  phone.device.addTrack("/Music/.hidden/a.mp3");
  phone.device.addTrack("/Music/.a.mp3");
  phone.device.addTrack("/Music/aogg");
  phone.device.addTrack("/Music/a.b.oga").tags = tags("T", "X");
  walk();
  EXPECT_EQ(track("/Music/.hidden/a.mp3"), nullptr);
  EXPECT_EQ(track("/Music/.a.mp3"), nullptr);
  EXPECT_EQ(track("/Music/aogg"), nullptr);
  EXPECT_EQ(log.count("[KORU] Excluding hidden file"), 2);
  EXPECT_EQ(log.count("[KORU] Excluding file with unsupported extension"), 1);
  EXPECT_NE(track("/Music/a.b.oga"), nullptr);
  MtpDevice::instance().disconnectDevice(phone.handle);
  EXPECT_EQ(track(), nullptr);
  EXPECT_EQ(log.count("Indexing of track stopped or device removed"), 1);
}

TEST_F(MtpConnectionTest, APlaylistIsNamedBehindTheLastSlashAndKeepsItsOrder) {
  phone.device.addPlaylist("/AC//DC", {kSong, kSong});
  phone.device.addPlaylist("/Empty", {});
  walk();
  load();
  const t_track_id id = phone.idOf("/AC//DC");
  const auto playlist = connection->generatePlaylist(deviceId, kKey, id);
  ASSERT_NE(playlist, nullptr);
  EXPECT_EQ(playlist->path, "mtp-playlist://" + std::to_string(id) + "/AC/DC");
  EXPECT_EQ(playlist->name, "DC");
  ASSERT_THAT(playlist->entries, SizeIs(2));
  EXPECT_EQ(playlist->entries[1].trackPath, track()->objectId);
  EXPECT_TRUE(playlist->entries[1].pathIsId);
  EXPECT_EQ(connection->generatePlaylist(deviceId, kKey, phone.idOf("/Empty")), nullptr);
  EXPECT_EQ(log.count("[KORU] Empty playlist or device error (playlist size 0)"), 1);
}

TEST_F(MtpConnectionTest, LoadsNothingFromADeviceThatIsGoneOrDoesNotCount) {
  fault("Access_GetNumElements", STATUS_NOT_OK).from = 2;
  walk();
  EXPECT_FALSE(load());
  EXPECT_EQ(log.count(" - Error while getting num elements"), 1);
  MtpDevice::instance().disconnectDevice(phone.handle);
  EXPECT_FALSE(load());
  EXPECT_EQ(log.levelOf("Device with handle " + std::to_string(phone.handle) +
                        " disconnected or not found"),
            LogLevel::Error);
}

TEST_F(MtpConnectionTest, DatesAreThoseOfTheDeviceOrTheEpoch) {
  phone.device.find(kSong)->modified = 1234567890;
  phone.device.addTrack("/Music/undated.mp3");
  walk();
  const t_track_id undated = phone.idOf("/Music/undated.mp3");
  char text[kAccessTextBytes] = "";
  ASSERT_EQ(Access_GetTrackDateModified(phone.handle, phone.idOf(kSong), text), STATUS_OK);
  EXPECT_THAT(text, testing::MatchesRegex("(Fri|Sat) Feb 1[34] [0-9:]+ 2009"));
  ASSERT_EQ(Access_GetTrackDateModified(phone.handle, undated, text), STATUS_OK);
  EXPECT_STREQ(text, "Thu Jan  1 00:00:00 1970");
  // The date's own format matches no date, so that every track has the same one.
  EXPECT_EQ(connection->getTrackDateModifiedEpoch(phone.idOf(kSong)),
            connection->getTrackDateModifiedEpoch(undated));
}

TEST_F(MtpConnectionTest, TheWalkListsEveryFolderButTheBlacklistedOnes) {
  phone.device.addTrack("/dcim/x.mp3");
  phone.device.addTrack("/DCIM2/x.mp3");
  phone.device.addTrack("/Music/Android/x.mp3");
  walk();
  EXPECT_EQ(log.count("1 elements of TYPE_STORAGE are present in this device"), 1);
  EXPECT_THAT(log.texts("Ignoring folder:"),
              ElementsAre("Ignoring folder:dcim - id:" + std::to_string(phone.idOf("/dcim"))));
  EXPECT_THAT(log.texts("Checking folder:"), SizeIs(4));
  EXPECT_EQ(phone.count("listFolder"), 5U);
  EXPECT_TRUE(connection->isComplete());

  phone.device.storages.clear();
  phone.update();
  EXPECT_FALSE(connection->crawlMtpDevice());
  EXPECT_EQ(log.count("0 elements of TYPE_STORAGE are present in this device"), 1);
}

TEST_F(MtpConnectionTest, ShortPagesAreRecountedOnceAndThenGivenUp) {
  for (const char* name : {"b", "c", "d"}) {
    phone.device.addTrack("/Music/A/" + std::string(name) + ".mp3");
  }
  const Fault page{.at = scripted::kAtPage, .effect = Fault::Effect::Items, .path = "/Music/A"};
  phone.device.addFault(page).items = 2;
  Fault& emptyPages = phone.device.addFault(page);
  emptyPages.from = 2;
  emptyPages.times = 2;
  walk();
  const std::string folder = std::to_string(phone.idOf("/Music/A"));
  EXPECT_THAT(log.texts("Could not fetch"),
              ElementsAre("Could not fetch more items for container " + folder +
                              " of storage 65537. Got 2 / 4. Checking if number of elements "
                              "changed",
                          "Could not fetch all items for container " + folder +
                              " of storage 65537. Got 2 / 4"));
  EXPECT_THAT(
      log.texts("New number of elements"),
      ElementsAre("New number of elements for container " + folder + " of storage 65537 is 4"));
  EXPECT_FALSE(connection->isComplete());
}

TEST_F(MtpConnectionTest, TheWalkEndsAlsoWhenAFolderNeverDoes) {
  fault("Access_GetItems", STATUS_NOT_OK).from = 2;
  connect();
  EXPECT_TRUE(connection->crawlMtpDevice());
  EXPECT_EQ(log.count("Access_GetItems returns error"), 81);
  phone.device.faults[0].status = STATUS_NOT_OK_BAD_HANDLE;
  phone.update();
  EXPECT_FALSE(connection->crawlMtpDevice());
  EXPECT_EQ(log.count(" - Fail to invoke method: MTPFileTree . - STATUS NOT OK BAD HANDLE!"), 1);
}

TEST_F(MtpConnectionTest, FoldersOfTracksAreFoundOnceFromBelow) {
  phone.device.addTrack("/Music/A/y.mp3");
  phone.device.addTrack("/Music/B/C/z.mp3");
  walk();
  ASSERT_TRUE(load());
  std::vector<std::string> folders;
  connection->MTPCreateDirCache(folders, tracks.get());
  EXPECT_THAT(folders, ElementsAre("/Music/A", "/Music", "", "/Music/B/C", "/Music/B"));

  tracks.get().items[1].id = 4711;
  folders.clear();
  connection->MTPCreateDirCache(folders, tracks.get());
  EXPECT_THAT(folders, SizeIs(3)) << "an unknown track ends it";
  t_playlist_items_list tooLong{16001, nullptr};
  connection->MTPCreateDirCache(folders, tooLong);
  EXPECT_EQ(log.levelOf("Invalid playlist size: 16001"), LogLevel::Warning);
  t_playlist_items_list withoutItems{3, nullptr};
  connection->MTPCreateDirCache(folders, withoutItems);
  EXPECT_THAT(folders, SizeIs(3));
}

TEST(MtpConnection, WithoutADeviceEverythingIsEmpty) {
  const std::string deviceId = "none";
  const LogCapture log;
  MtpConnection connection(0, deviceId);
  EXPECT_EQ(connection.getTrackFilePath(1), "");
  EXPECT_FALSE(connection.crawlMtpDevice());
  EXPECT_EQ(connection.generatePlaylist(deviceId, kKey, 1), nullptr);
  EXPECT_EQ(log.count(" - Fail to invoke method: Command_ResetCategory - Playlist . - STATUS NOT "
                      "OK BAD HANDLE!"),
            1);
}

}  // namespace
}  // namespace orvel::test
