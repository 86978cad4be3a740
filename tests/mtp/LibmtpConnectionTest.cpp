#include <gmock/gmock.h>
#include <orvel/AttachedDevices.h>
#include <orvel/MtpDevice.h>

#include <future>
#include <map>

#include "base/StageThread.h"
#include "db/MetaDataInfo.h"
#include "db/Playlist.h"
#include "mtp/MtpConnection.h"
#include "phones/Access.h"
#include "phones/MtpUtils.h"
#include "phones/OwnedList.h"
#include "tests/mtp/responder/StandInDevice.h"
#include "tests/support/waitUntil.h"
#include "tools/stick/AudioGrowth.h"
#include "tools/stick/Seeds.h"
#include "tools/stick/TagWriter.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;

constexpr char kKey[] = "mtp-folder://R0001";

/// A connection, as the stages have it, with a device on the stand-in's bus.
class LibmtpConnectionTest : public testing::Test {
 protected:
  ~LibmtpConnectionTest() override {
    connection.reset();
    releaseDevices();
    StandInDevice::unplugAll();
    attachedDevices();
  }

  void plugIn() {
    device = StandInDevice::plugIn(media);
    connect();
  }
  /// Connects with the only device on the bus.
  void connect() {
    const auto attached = attachedDevices();
    ASSERT_THAT(attached, SizeIs(1));
    EXPECT_EQ(attached[0].error, "");
    EXPECT_EQ(attached[0].deviceId, deviceId);
    handle = attached[0].handle;
    MtpDevice::instance().setDeviceConnected(handle);
    connection = std::make_unique<MtpConnection>(handle, deviceId);
  }
  /// Lists the device; returns the tracks by their paths.
  std::map<std::string, t_track_id> walk() {
    EXPECT_TRUE(connection->crawlMtpDevice());
    OwnedElements tracks;
    OwnedElements playlists;
    EXPECT_TRUE(connection->loadDeviceData(tracks.out(), playlists.out()));
    playlistCount = playlists.size();
    std::map<std::string, t_track_id> paths;
    for (const t_playlist_item& track : tracks)
      paths[connection->getTrackFilePath(track.id)] = track.id;
    return paths;
  }
  std::unique_ptr<MetaDataInfo> track(t_track_id id) {
    return connection->generateTrack("", kKey, id, 0);
  }
  std::vector<std::string> members(t_track_id playlist) {
    std::vector<std::string> ids;
    const auto found = connection->generatePlaylist(deviceId, kKey, playlist);
    if (found == nullptr) return {};
    for (const auto& entry : found->entries) ids.push_back(entry.trackPath);
    return ids;
  }

  const std::string deviceId = "46f4:0004:R0001";
  Media media;
  const std::uint32_t phone = media.addStorage(u"Phone");
  std::shared_ptr<StandInDevice> device;
  t_handle handle = 0;
  std::size_t playlistCount = 0;
  std::unique_ptr<MtpConnection> connection;
};

TEST_F(LibmtpConnectionTest, NeedsFewOperations) {
  constexpr int kTracks = 800, kTracksOfAlbum = 40, kAlbumsOfArtist = 10;
  for (int i = 0; i < kTracks; ++i) {
    const int album = i / kTracksOfAlbum;
    const std::string path = "/Music/Artist " + std::to_string(album / kAlbumsOfArtist) +
                             "/Album " + std::to_string(album) + "/" + std::to_string(i) + ".mp3";
    media.addTrack(phone, path, {u"Title", u"Artist", u"Album", u"Genre", u"Composer", 3});
  }
  const std::size_t objects = media.objects.size();
  const std::size_t folders = objects - kTracks + 1;  // the root, too
  plugIn();
  Responder& responder = device->responder;
  responder.clearCounters();
  const auto found = walk();
  ASSERT_THAT(found, SizeIs(kTracks));
  EXPECT_LE(responder.operations(), 5 * (folders + objects)) << "every folder is listed twice";

  responder.clearCounters();
  const auto song = track(found.begin()->second);
  EXPECT_EQ(song->title + song->artist + song->album + song->genre + song->composer,
            "TitleArtistAlbumGenreComposer");
  EXPECT_EQ(song->trackNumber, 3);
  EXPECT_EQ(responder.operations(), 9U) << "each tag was read once";

  // A request that finds the songs of an earlier one.
  std::vector<std::string> stored;
  for (const auto& [path, id] : found) stored.push_back(path);
  const auto walkAgain = [&] {
    responder.clearCounters();
    MtpUtils::expectSongs(handle, stored);
    EXPECT_EQ(walk(), found);
    return responder.calls();
  };
  auto calls = walkAgain();
  EXPECT_EQ(calls[ptp::kGetObjectInfo], 0U) << "it is known from before";
  EXPECT_EQ(calls[ptp::kGetObjectPropValue], objects) << "their sizes only";
  device->unplug();
  device->plugInAgain();
  connect();
  walkAgain();
  const std::size_t fewest = folders + 3 * objects;
  EXPECT_LE(responder.operations(), fewest + fewest / 10);
}

// libmtp leaves out an object that is not described, and tells nobody.
TEST_F(LibmtpConnectionTest, AnObjectThatIsNotDescribedForAMomentIsNotLost) {
  for (const char* path : {"/Music/A/one.mp3", "/Music/A/two.mp3", "/Music/B/C/three.mp3"}) {
    media.addTrack(phone, path, {});
  }
  plugIn();
  const auto before = walk();
  std::vector<std::string> stored;
  for (const auto& [path, id] : before) stored.push_back(path);
  ASSERT_THAT(stored, SizeIs(3));
  for (unsigned n = 0; n < media.objects.size(); ++n) {
    for (const bool isStored : {false, true}) {
      device->unplug();
      device->plugInAgain();
      connect();
      device->responder.add(refuse(ptp::kGetObjectInfo, ptp::kDeviceBusy, 1).startingAfter(n));
      if (isStored) MtpUtils::expectSongs(handle, stored);
      EXPECT_EQ(walk(), before) << n;
      device->responder.clearFaults();
    }
  }
}

TEST_F(LibmtpConnectionTest, ReadsTheTagsOfAFileFromFewBytes) {
  using stick::TagForm;
  const std::pair<TagForm, std::string> forms[] = {
      {TagForm::Id3v1, "cbr.mp3"},     {TagForm::Id3v23, "cbr.mp3"},
      {TagForm::Id3v24, "cbr.mp3"},    {TagForm::Id3v24AndId3v1, "cbr.mp3"},
      {TagForm::Ape, "cbr.mp3"},       {TagForm::Mp4, "tone.m4a"},
      {TagForm::Asf, "tone.wma"},      {TagForm::Xiph, "tone.flac"},
      {TagForm::WavId3v2, "tone.wav"}, {TagForm::WavInfo, "tone.wav"}};
  for (const auto& [form, seed] : forms) {
    const std::string extension = seed.substr(seed.find('.'));
    const auto audio = stick::tagged(stick::grown(stick::seed(seed), extension, 3U << 20U), form,
                                     {.title = "A title", .artist = "An artist", .track = "7"});
    media.add(phone, "/" + std::to_string(media.objects.size()) + extension, ptp::kUndefined,
              {audio.data(), audio.size()});
  }
  plugIn();
  const auto found = walk();
  ASSERT_THAT(found, SizeIs(std::size(forms)));
  for (const auto& [path, id] : found) {
    device->responder.clearCounters();
    const auto song = track(id);
    EXPECT_EQ(song->title + ", " + song->artist, "A title, An artist") << path;
    EXPECT_EQ(song->trackNumber, 7) << path;
    EXPECT_LE(device->responder.fileBytes(), 24U << 10U) << path;
  }
}

TEST_F(LibmtpConnectionTest, RecognisesItsObjectsAfterAReconnect) {
  const std::uint32_t card = media.addStorage(u"SD/card");
  media.addTrack(phone, "/Music/one.mp3", {});
  media.addTrack(card, "/Music/one.mp3", {});
  media.objects[media.add(phone, "/x")].name = u"AC/DC.mp3";
  media.objects[media.add(phone, "/y")].name = std::u16string(250, u'名') + u".mp3";
  media.addTrack(phone, "/.hidden/two.mp3", {});
  plugIn();
  const auto objectIds = [&] {
    std::map<std::string, std::string> ids;
    for (const auto& [path, id] : walk()) {
      ids[path] = MtpUtils::getObjectIdForMtpTrack(id, deviceId);
      EXPECT_EQ(findObject(deviceId, ids[path]), id);
    }
    return ids;
  };
  const auto before = objectIds();
  std::string longName;
  for (int i = 0; i < 250; ++i) longName += "名";
  EXPECT_THAT(before, UnorderedElementsAre(Pair("/AC_DC.mp3", testing::_),
                                           Pair("/Music/one.mp3", testing::_),
                                           Pair("/SD_card/Music/one.mp3", testing::_),
                                           Pair("/" + longName + ".mp3", testing::_)));
  device->unplug();
  EXPECT_FALSE(isAttached(handle));
  device->responder.edit([](Media& changed) { changed.renumber(); });
  device->plugInAgain();
  const t_handle earlier = handle;
  connect();
  EXPECT_NE(handle, earlier);
  EXPECT_EQ(objectIds(), before);
}

TEST_F(LibmtpConnectionTest, PlaylistsHoldTheirPresentTracks) {
  const std::uint32_t one = media.addTrack(phone, "/one.mp3", {});
  const std::uint32_t two = media.addTrack(phone, "/two.mp3", {});
  const std::uint32_t best = media.addPlaylist(phone, "/b.pla", u"Best/of", {two, 4711, one, two});
  const std::uint32_t lost = media.addPlaylist(phone, "/l.pla", u"Lost", {4711, 4712});
  plugIn();
  walk();
  EXPECT_EQ(playlistCount, 2U);
  const std::string second = MtpUtils::getObjectIdForMtpTrack(two, deviceId);
  EXPECT_THAT(members(best), ElementsAre(second, track(one)->objectId, second));
  EXPECT_THAT(members(lost), IsEmpty());
  EXPECT_THAT(members(one), IsEmpty());
  EXPECT_EQ(MtpUtils::getPathForMtpTrack(best, deviceId, "mtp-playlist://7"),
            "mtp-playlist://7/Best/of");
  device->responder.edit([&](Media& changed) { changed.objects.erase(best); });
  walk();
  EXPECT_EQ(playlistCount, 1U) << "libmtp remembers those of earlier walks";
}

TEST_F(LibmtpConnectionTest, CallersLeaveWhileTheDeviceHangs) {
  media.addTrack(phone, "/one.mp3", {});
  plugIn();
  std::stop_source stage;
  const auto walkApart = [&] {
    device->holdTransfers();
    auto walking = std::async(std::launch::async, [&] {
      stageThread::enter(stage.get_token());
      return connection->crawlMtpDevice();
    });
    EXPECT_TRUE(device->awaitHeldTransfer());
    return walking;
  };
  auto walking = walkApart();
  std::uint32_t count = 0;
  EXPECT_EQ(Access_GetNumItems(handle, {CONTAINER_DEVICE, 0, 0}, TYPE_STORAGE, count), STATUS_BUSY);
  EXPECT_TRUE(isAttached(handle));
  stage.request_stop();
  ASSERT_EQ(walking.wait_for(std::chrono::seconds(5)), std::future_status::ready);
  EXPECT_FALSE(walking.get());
  device->releaseTransfers();
  EXPECT_THAT(walk(), ElementsAre(Pair("/one.mp3", testing::_)));

  stage = std::stop_source();
  walking = walkApart();
  device->unplug();
  EXPECT_FALSE(walking.get());
  EXPECT_FALSE(isAttached(handle));
  EXPECT_TRUE(waitUntil([&] { return device->openConnections == 0; }));
}

}  // namespace
}  // namespace orvel::test
