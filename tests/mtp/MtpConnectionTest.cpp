#include <gmock/gmock.h>
#include <orvel/MtpDevice.h>

#include "db/MetaDataInfo.h"
#include "mtp/MtpConnection.h"
#include "phones/Access.h"
#include "phones/MtpUtils.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedPhone.h"

namespace orvel::test {
namespace {

using scripted::Fault;
using testing::ElementsAre;
using testing::SizeIs;

constexpr char kKey[] = "mtp-folder://phone1";

/// A connection with a phone that is plugged in by `connect`.
class MtpConnectionTest : public testing::Test {
 protected:
  void connect() {
    MtpDevice::instance().setDeviceConnected(phone.plugIn());
    connection = std::make_unique<MtpConnection>(phone.handle, deviceId);
  }
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
};

TEST_F(MtpConnectionTest, TextsOfATrackAreTidiedAndNeverEmpty) {
  songTags() = {" Song\nName ", "  ", "\tAlbum ", "", "C\nD\n", 7};
  phone.device.addTrack("/Music/my.first.song").tags = tags("T", "X");
  walk();
  const auto song = track();
  ASSERT_NE(song, nullptr);
  EXPECT_EQ(song->title, "SongName");
  EXPECT_EQ(song->artist, "Various Artists");
  EXPECT_EQ(song->album, "\tAlbum") << "only spaces are stripped";
  EXPECT_EQ(song->genre, "Various Genre");
  EXPECT_EQ(song->composer, "CD\n") << "only the first line feed is removed";
  EXPECT_EQ(song->objectId, MtpUtils::getObjectIdForMtpTrack(phone.idOf(kSong), deviceId));

  for (const char* at : {"Title", "Album", "Composer", "AlbumTrackIndex"}) {
    fault(("Access_GetTrack" + std::string(at)).c_str(), STATUS_NOT_SUPPORTED);
  }
  phone.update();
  const auto unanswered = track("/Music/my.first.song");
  EXPECT_EQ(unanswered->title, "my.first");
  EXPECT_EQ(unanswered->album + unanswered->composer, "Various AlbumsVarious Composers");
  EXPECT_EQ(unanswered->trackNumber, 0);
  EXPECT_EQ(log.count(" - Fail to invoke method: Access_GetTrackTitle . - STATUS NOT SUPPORTED!"),
            1);
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
  const auto song = track("/Music/plain.mp3");
  ASSERT_NE(song, nullptr) << "an unreadable track is a song all the same";
  EXPECT_EQ(song->title + song->artist + song->album + song->genre + song->composer, "");
}

TEST_F(MtpConnectionTest, DatesAreThoseOfTheDevice) {
  phone.device.find(kSong)->modified = 1234567890;
  phone.device.addTrack("/Music/undated.mp3");
  walk();
  char text[kAccessTextBytes] = "";
  ASSERT_EQ(Access_GetTrackDateModified(phone.handle, phone.idOf(kSong), text), STATUS_OK);
  EXPECT_THAT(text, testing::MatchesRegex("(Fri|Sat) Feb 1[34] [0-9:]+ 2009"));
  // The date's own format matches no date, so every track has the same one.
  const auto date = connection->getTrackDateModifiedEpoch(phone.idOf(kSong));
  EXPECT_EQ(date, connection->getTrackDateModifiedEpoch(phone.idOf("/Music/undated.mp3")));
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
}

}  // namespace
}  // namespace orvel::test
