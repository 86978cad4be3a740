#include <gmock/gmock.h>

#include <array>
#include <future>
#include <map>
#include <thread>

#include "base/StageThread.h"
#include "phones/Access.h"
#include "phones/AttachedDevices.h"
#include "phones/MtpUtils.h"
#include "phones/OwnedList.h"
#include "tests/mtp/responder/LibusbStandIn.h"
#include "tests/support/waitUntil.h"
#include "tools/stick/AudioGrowth.h"
#include "tools/stick/Seeds.h"
#include "tools/stick/TagWriter.h"

namespace orvel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;

constexpr t_mtp_container kDevice{CONTAINER_DEVICE, 0, 0};

t_status walkFolder(t_handle device, const t_mtp_container& folder) {
  std::uint32_t count = 0;
  t_status status = Access_GetNumItems(device, folder, TYPE_OBJECT, count);
  OwnedItems items;
  if (status == STATUS_OK) {
    status = Access_GetItems(device, folder, TYPE_OBJECT, 0, count, items.out());
  }
  for (const t_mtp_item& item : items) {
    if (item.type != TYPE_FOLDER || status != STATUS_OK) continue;
    status = walkFolder(device, {CONTAINER_FOLDER, item.id, folder.storage});
  }
  return status;
}

t_status walk(t_handle device) {
  std::uint32_t count = 0;
  OwnedItems items;
  t_status status = Access_GetNumItems(device, kDevice, TYPE_STORAGE, count);
  if (status == STATUS_OK) {
    status = Access_GetItems(device, kDevice, TYPE_STORAGE, 0, count, items.out());
  }
  for (const t_mtp_item& item : items) {
    if (status == STATUS_OK) status = walkFolder(device, {CONTAINER_FOLDER, 0, item.id});
  }
  if (status != STATUS_OK) return status;
  OwnedItems none;
  return Access_GetItems(device, {CONTAINER_WALK_DONE, 0, 0}, TYPE_WALK_DONE, 0, 0, none.out());
}

/// The tracks that are listed now.
std::vector<t_track_id> tracks(t_handle device) {
  std::uint32_t count = 0;
  OwnedElements elements;
  EXPECT_EQ(Access_GetNumElements(device, CATEGORY_TRACKS, count), STATUS_OK);
  EXPECT_EQ(Access_GetPlaylistElements(device, CATEGORY_TRACKS, 0, count, elements.out()),
            STATUS_OK);
  std::vector<t_track_id> ids;
  for (const t_playlist_item& element : elements) ids.push_back(element.id);
  return ids;
}

std::vector<std::string> paths(t_handle device) {
  std::vector<std::string> found;
  for (const t_track_id id : tracks(device)) {
    found.push_back(MtpUtils::getRawPathForMtpObject(device, id));
  }
  return found;
}

using TextGetter = t_status (*)(t_handle, t_track_id, char*);
std::string text(TextGetter getter, t_handle device, t_track_id id) {
  std::array<char, kAccessTextBytes> buffer{};
  EXPECT_EQ(getter(device, id, buffer.data()), STATUS_OK);
  return buffer.data();
}

/// The device-access library on a device on the stand-in's bus.
class LibmtpAccessTest : public testing::Test {
 protected:
  ~LibmtpAccessTest() override {
    releaseDevices();
    libusbStandIn::unplugAll();
    attachedDevices();
  }

  /// Attaches the media and returns the handle under which they are reached.
  t_handle plugIn(const Media& media, const std::string& serial = "R0001") {
    device = libusbStandIn::plugIn(media, {.serial = serial});
    return handleOfOnly();
  }
  static t_handle handleOfOnly() {
    const auto attached = attachedDevices();
    EXPECT_THAT(attached, SizeIs(1));
    EXPECT_EQ(attached.at(0).error, "");
    setDeviceId(attached[0].handle, attached[0].deviceId);
    return attached[0].handle;
  }
  std::size_t operations() const {
    std::size_t sum = 0;
    for (const auto& [operation, count] : device->responder.calls()) sum += count;
    return sum;
  }

  std::shared_ptr<StandInDevice> device;
};

TEST_F(LibmtpAccessTest, AsksForLittleOnAFullDevice) {
  Media media;
  const std::uint32_t phone = media.addStorage("Phone");
  constexpr int kTracks = 16'000, kTracksOfAlbum = 40, kAlbumsOfArtist = 10;
  for (int i = 0; i < kTracks; ++i) {
    const int album = i / kTracksOfAlbum;
    const std::string path = "/Music/Artist " + std::to_string(album / kAlbumsOfArtist) +
                             "/Album " + std::to_string(album) + "/" + std::to_string(i) + ".mp3";
    media.addTrack(phone, path, {"Title", "Artist", "Album", "Genre", "Composer", 3});
  }
  const std::size_t objects = media.objects().size();
  const std::size_t folders = objects - kTracks + 1;  // the root, too
  const t_handle handle = plugIn(media);
  device->responder.clearCounters();

  ASSERT_EQ(walk(handle), STATUS_OK);
  const std::size_t fewest = folders + 3 * objects;
  EXPECT_LE(operations(), fewest + fewest / 10);
  RecordProperty("operations of a listing", static_cast<int>(operations()));
  RecordProperty("fewest operations", static_cast<int>(fewest));

  device->responder.clearCounters();
  const std::vector<t_track_id> found = tracks(handle);
  ASSERT_THAT(found, SizeIs(kTracks));
  constexpr int kStep = 16;
  for (std::size_t i = 0; i < found.size(); i += kStep) {
    const t_track_id id = found[i];
    ASSERT_TRUE(MtpUtils::deviceHasMetadata(id, handle));
    std::uint16_t number = 0;
    ASSERT_EQ(text(Access_GetTrackTitle, handle, id), "Title");
    ASSERT_EQ(text(Access_GetTrackArtist, handle, id), "Artist");
    ASSERT_EQ(text(Access_GetTrackAlbum, handle, id), "Album");
    ASSERT_EQ(text(Access_GetTrackGenre, handle, id), "Genre");
    ASSERT_EQ(text(Access_GetTrackComposer, handle, id), "Composer");
    ASSERT_EQ(Access_GetTrackAlbumTrackIndex(handle, id, number), STATUS_OK);
    ASSERT_EQ(number, 3);
  }
  EXPECT_EQ(operations(), 9U * (kTracks / kStep)) << "each was read once";

  device->responder.clearCounters();
  ASSERT_EQ(walk(handle), STATUS_OK);
  EXPECT_EQ(tracks(handle), found);
  EXPECT_EQ(device->responder.calls(ptp::kGetObjectInfo), 0U) << "it is known from before";
  EXPECT_EQ(device->responder.calls(ptp::kGetObjectPropValue), objects) << "their sizes only";
}

TEST_F(LibmtpAccessTest, ReadsTheTagsOfAFileFromFewBytes) {
  using stick::TagForm;
  struct Form {
    TagForm form;
    std::string seed;
  };
  const std::vector<Form> forms = {
      {TagForm::Id3v1, "cbr.mp3"},     {TagForm::Id3v23, "cbr.mp3"},
      {TagForm::Id3v24, "cbr.mp3"},    {TagForm::Id3v24AndId3v1, "cbr.mp3"},
      {TagForm::Ape, "cbr.mp3"},       {TagForm::Mp4, "tone.m4a"},
      {TagForm::Asf, "tone.wma"},      {TagForm::Xiph, "tone.flac"},
      {TagForm::WavId3v2, "tone.wav"}, {TagForm::WavInfo, "tone.wav"}};
  constexpr unsigned kSongBytes = 3U << 20U;
  Media media;
  const std::uint32_t phone = media.addStorage("Phone");
  for (std::size_t i = 0; i < forms.size(); ++i) {
    const std::string extension = forms[i].seed.substr(forms[i].seed.find('.'));
    const auto audio =
        stick::tagged(stick::grown(stick::seed(forms[i].seed), extension, kSongBytes),
                      forms[i].form, {.title = "A title", .artist = "An artist", .track = "7"});
    media.addFile(phone, "/" + std::to_string(i) + extension,
                  fileContent({audio.data(), audio.size()}));
  }
  const t_handle handle = plugIn(media);
  ASSERT_EQ(walk(handle), STATUS_OK);
  const std::vector<t_track_id> found = tracks(handle);
  ASSERT_THAT(found, SizeIs(forms.size()));
  for (std::size_t i = 0; i < forms.size(); ++i) {
    device->responder.clearCounters();
    CTrackInfo info;
    EXPECT_FALSE(MtpUtils::deviceHasMetadata(found[i], handle));
    EXPECT_TRUE(MtpUtils::getMetadataFromMTPFile(found[i], info, handle)) << i;
    EXPECT_EQ(info.getTitle(), "A title") << i;
    EXPECT_EQ(info.getArtist(), "An artist") << i;
    EXPECT_EQ(info.getTrackNumber(), 7) << i;
    EXPECT_LE(device->responder.fileBytes(), 24U << 10U) << i;
    RecordProperty("bytes" + std::to_string(i), static_cast<int>(device->responder.fileBytes()));
    RecordProperty("reads" + std::to_string(i),
                   static_cast<int>(device->responder.calls(ptp::kGetPartialObject)));
  }
}

TEST_F(LibmtpAccessTest, KnowsItsObjectsAgainAtTheNextAttachment) {
  Media media;
  const std::uint32_t phone = media.addStorage("Phone");
  const std::uint32_t card = media.addStorage("SD/card");
  media.addTrack(phone, "/Music/one.mp3", {});
  media.addTrack(card, "/Music/one.mp3", {});
  media.find(media.addFile(phone, "/x"))->name = u"AC/DC.mp3";
  media.find(media.addFile(phone, "/y"))->name = std::u16string(250, u'名') + u".mp3";
  media.addTrack(phone, "/.hidden/two.mp3", {});
  t_handle handle = plugIn(media);
  const auto deviceId = attachedDevices().at(0).deviceId;
  EXPECT_EQ(deviceId, "46f4:0004:R0001");
  const auto objectIds = [&] {
    EXPECT_EQ(walk(handle), STATUS_OK);
    std::map<std::string, std::string> ids;
    for (const t_track_id id : tracks(handle)) {
      const std::string objectId = MtpUtils::getObjectIdForMtpTrack(id, deviceId);
      EXPECT_EQ(findObject(deviceId, objectId), id);
      ids[objectId] = MtpUtils::getRawPathForMtpObject(handle, id);
    }
    return ids;
  };
  const auto before = objectIds();
  std::string longName;
  for (int i = 0; i < 250; ++i) longName += "名";
  EXPECT_THAT(before, UnorderedElementsAre(Pair(testing::_, "/AC_DC.mp3"),
                                           Pair(testing::_, "/Music/one.mp3"),
                                           Pair(testing::_, "/SD_card/Music/one.mp3"),
                                           Pair(testing::_, "/" + longName + ".mp3")));

  device->unplug();
  EXPECT_FALSE(isAttached(handle));
  device->responder.edit([](Media& changed) { changed.renumber(); });
  libusbStandIn::plugInAgain(device);
  const t_handle earlier = std::exchange(handle, handleOfOnly());
  EXPECT_NE(handle, earlier);
  EXPECT_EQ(objectIds(), before);
}

TEST_F(LibmtpAccessTest, TellsOfRefusedAndLockedDevices) {
  Media media;
  media.addTrack(media.addStorage("Phone"), "/one.mp3", {});
  device = libusbStandIn::plugIn(media);
  device->refuseClaim(-6);
  const auto refused = attachedDevices();
  ASSERT_THAT(refused, SizeIs(1));
  EXPECT_THAT(refused[0].error, HasSubstr("Another program"));
  EXPECT_THAT(refused[0].storages, IsEmpty());
  EXPECT_EQ(walk(refused[0].handle), STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED);

  device->refuseClaim(0);
  device->responder.setLocked(true);
  const auto locked = attachedDevices();
  ASSERT_THAT(locked, SizeIs(1));
  EXPECT_EQ(locked[0].handle, refused[0].handle);
  EXPECT_EQ(locked[0].error, "");
  EXPECT_THAT(locked[0].storages, IsEmpty());
  device->responder.setLocked(false);
  EXPECT_THAT(storagesOf(locked[0].handle), SizeIs(1));
  EXPECT_EQ(walk(locked[0].handle), STATUS_OK);
  EXPECT_THAT(paths(locked[0].handle), ElementsAre("/one.mp3"));
}

TEST_F(LibmtpAccessTest, AnswersBusyAndMissesNothingLater) {
  Media media;
  const std::uint32_t phone = media.addStorage("Phone");
  media.addTrack(phone, "/one.mp3", {.title = "One"});
  media.addTrack(phone, "/two.mp3", {.title = "Two"});
  const t_handle handle = plugIn(media);
  std::uint32_t count = 0;
  ASSERT_EQ(Access_GetNumItems(handle, kDevice, TYPE_STORAGE, count), STATUS_OK);
  // From the info of the second track on.
  device->responder.add(refuse(ptp::kAnyOperation, ptp::kDeviceBusy, 2).startingAfter(4));
  EXPECT_EQ(Access_GetNumItems(handle, {CONTAINER_FOLDER, 0, phone}, TYPE_OBJECT, count),
            STATUS_BUSY);
  EXPECT_EQ(Access_GetNumItems(handle, {CONTAINER_FOLDER, 0, phone}, TYPE_OBJECT, count),
            STATUS_OK);
  EXPECT_EQ(count, 2U);
  ASSERT_EQ(walk(handle), STATUS_OK);
  const t_track_id one = tracks(handle).at(0);
  std::array<char, kAccessTextBytes> title{"not empty"};
  device->responder.add(refuse(ptp::kAnyOperation, ptp::kDeviceBusy));
  EXPECT_EQ(Access_GetTrackTitle(handle, one, title.data()), STATUS_BUSY);
  EXPECT_STREQ(title.data(), "");
  device->responder.clearFaults();
  EXPECT_EQ(text(Access_GetTrackTitle, handle, one), "One");
}

TEST_F(LibmtpAccessTest, SelectsPlaylistsOfTheDevice) {
  Media media;
  const std::uint32_t phone = media.addStorage("Phone");
  const std::uint32_t one = media.addTrack(phone, "/one.mp3", {});
  const std::uint32_t two = media.addTrack(phone, "/two.mp3", {});
  const std::uint32_t best = media.addPlaylist(phone, "/b.pla", "Best/of", {two, 4711, one, two});
  const std::uint32_t lost = media.addPlaylist(phone, "/l.pla", "Lost", {4711, 4712});
  const t_handle handle = plugIn(media);
  const std::string deviceId = attachedDevices().at(0).deviceId;
  ASSERT_EQ(walk(handle), STATUS_OK);
  std::uint32_t count = 0;
  ASSERT_EQ(Access_GetNumElements(handle, CATEGORY_PLAYLISTS, count), STATUS_OK);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(text(Access_GetTrackTitle, handle, best), "Best/of");
  EXPECT_EQ(MtpUtils::getPathForMtpTrack(best, deviceId, "mtp-playlist://7"),
            "mtp-playlist://7/Best/of");
  ASSERT_EQ(Command_SelectCategory(handle, CATEGORY_PLAYLISTS, best), STATUS_OK);
  EXPECT_THAT(tracks(handle), ElementsAre(two, one, two));
  ASSERT_EQ(Command_SelectCategory(handle, CATEGORY_PLAYLISTS, lost), STATUS_OK);
  EXPECT_THAT(tracks(handle), IsEmpty());
  EXPECT_EQ(Command_SelectCategory(handle, CATEGORY_PLAYLISTS, one), STATUS_NOT_OK);
  ASSERT_EQ(Command_ResetCategory(handle), STATUS_OK);
  EXPECT_THAT(tracks(handle), ElementsAre(one, two));

  device->responder.clearCounters();
  EXPECT_EQ(Command_SelectCategory(handle, CATEGORY_PLAYLISTS, 4711), STATUS_NOT_OK);
  EXPECT_EQ(operations(), 0U) << "it was asked for what it never showed";
  device->responder.edit([&](Media& changed) { changed.remove(best); });
  ASSERT_EQ(walk(handle), STATUS_OK);
  ASSERT_EQ(Access_GetNumElements(handle, CATEGORY_PLAYLISTS, count), STATUS_OK);
  EXPECT_EQ(count, 1U) << "libmtp remembers those of earlier walks";
}

TEST_F(LibmtpAccessTest, EndsAtAnyTransferWithoutTheDevice) {
  Media media;
  const std::uint32_t phone = media.addStorage("Phone");
  const std::uint32_t song = media.addTrack(phone, "/Music/one.mp3", {.title = "One"});
  const auto audio = stick::seed("cbr.mp3");
  const std::uint32_t plain =
      media.addFile(phone, "/two.mp3", fileContent({audio.data(), audio.size()}));
  const std::uint32_t best = media.addPlaylist(phone, "/b.pla", "Best", {song});
  t_handle handle = plugIn(media);
  const auto askEverything = [&] {
    CTrackInfo info;
    std::uint32_t count = 0;
    t_status status = walk(handle);
    if (status != STATUS_OK) return status;
    MtpUtils::deviceHasMetadata(song, handle);
    MtpUtils::getMetadataFromMTPFile(plain, info, handle);
    status = Access_GetNumElements(handle, CATEGORY_PLAYLISTS, count);
    if (status != STATUS_OK) return status;
    return Command_SelectCategory(handle, CATEGORY_PLAYLISTS, best);
  };
  const std::size_t before = device->transfers();
  ASSERT_EQ(askEverything(), STATUS_OK);
  const std::size_t transfers = device->transfers() - before;
  for (std::size_t n = 1; n <= transfers; ++n) {
    device->unplug();
    libusbStandIn::plugInAgain(device);
    handle = handleOfOnly();
    device->unplugAtTransfer(n);
    ASSERT_EQ(askEverything(), STATUS_NOT_OK_BAD_HANDLE) << n;
    const std::size_t made = device->transfers();
    EXPECT_EQ(askEverything(), STATUS_NOT_OK_BAD_HANDLE) << n;
    EXPECT_EQ(device->transfers(), made) << "the device was asked again";
    EXPECT_FALSE(isAttached(handle));
  }
  EXPECT_TRUE(waitUntil([&] { return device->openConnections() == 0; }));
}

TEST_F(LibmtpAccessTest, LetsCallersLeaveWhileTheDeviceHangs) {
  Media media;
  media.addTrack(media.addStorage("Phone"), "/one.mp3", {});
  const t_handle handle = plugIn(media);
  device->holdTransfers();
  std::stop_source stage;
  auto walking = std::async(std::launch::async, [&] {
    stageThread::enter(stage.get_token());
    return walk(handle);
  });
  ASSERT_TRUE(device->awaitHeldTransfer());
  std::uint32_t count = 0;
  EXPECT_EQ(Access_GetNumItems(handle, kDevice, TYPE_STORAGE, count), STATUS_BUSY);
  EXPECT_TRUE(isAttached(handle));
  stage.request_stop();
  ASSERT_EQ(walking.wait_for(5s), std::future_status::ready);
  EXPECT_EQ(walking.get(), STATUS_NOT_OK_GENERIC_PLUGIN_ERROR);
  device->releaseTransfers();
  EXPECT_EQ(walk(handle), STATUS_OK);
  EXPECT_THAT(paths(handle), ElementsAre("/one.mp3"));

  device->holdTransfers();
  auto unplugged = std::async(std::launch::async, [&] { return walk(handle); });
  ASSERT_TRUE(device->awaitHeldTransfer());
  device->unplug();
  EXPECT_EQ(unplugged.get(), STATUS_NOT_OK_BAD_HANDLE);
}

}  // namespace
}  // namespace orvel::test
