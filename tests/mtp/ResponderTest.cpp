#include <gmock/gmock.h>
#include <libmtp.h>

#include <thread>

#include "tests/mtp/responder/LibusbStandIn.h"

namespace orvel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct Release {
  void operator()(LIBMTP_mtpdevice_t* device) const { LIBMTP_Release_Device(device); }
  void operator()(LIBMTP_track_t* track) const { LIBMTP_destroy_track_t(track); }
  void operator()(LIBMTP_playlist_t* list) const { LIBMTP_destroy_playlist_t(list); }
};
using Device = std::unique_ptr<LIBMTP_mtpdevice_t, Release>;

int detect(LIBMTP_raw_device_t** devices) {
  static const bool initialised = (LIBMTP_Init(), true);
  int count = 0;
  return initialised && LIBMTP_Detect_Raw_Devices(devices, &count) == LIBMTP_ERROR_NONE ? count : 0;
}

Device openFirst() {
  LIBMTP_raw_device_t* devices = nullptr;
  const int count = detect(&devices);
  Device device(count == 0 ? nullptr : LIBMTP_Open_Raw_Device_Uncached(devices));
  std::free(devices);
  return device;
}

std::vector<std::string> names(LIBMTP_mtpdevice_t* device, std::uint32_t storage,
                               std::uint32_t folder = LIBMTP_FILES_AND_FOLDERS_ROOT) {
  std::vector<std::string> found;
  for (LIBMTP_file_t* file = LIBMTP_Get_Files_And_Folders(device, storage, folder); file;) {
    found.emplace_back(file->filename);
    LIBMTP_file_t* next = file->next;
    LIBMTP_destroy_file_t(file);
    file = next;
  }
  return found;
}

std::string part(LIBMTP_mtpdevice_t* device, std::uint32_t file, std::uint64_t offset,
                 std::uint32_t count) {
  unsigned char* data = nullptr;
  unsigned size = 0;
  EXPECT_EQ(LIBMTP_GetPartialObject(device, file, offset, count, &data, &size), 0);
  std::string bytes(reinterpret_cast<const char*>(data), size);
  std::free(data);
  return bytes;
}

/// libmtp itself, as it comes, against the responder.
class ResponderTest : public testing::Test {
 protected:
  ResponderTest() {
    Media media;
    phone = media.addStorage("Phone");
    card = media.addStorage("Card");
    song = media.addTrack(phone, "/Music/Bjørk – 二/one.mp3",
                          {"Title", "Artist", "Album", "Genre", "Composer", 7},
                          fileContent(std::string(5000, 'x')));
    music = media.handleOf(phone, "/Music");
    other = media.addTrack(phone, "/Music/two.flac", {.title = "二"});
    unknown = media.addFile(card, "/three.mp3");
    list = media.addPlaylist(phone, "/Playlists/Best.pla", "Best of", {other, song, 4711});
    device = libusbStandIn::plugIn(media);
  }
  ~ResponderTest() override { libusbStandIn::unplugAll(); }

  std::uint32_t phone = 0, card = 0, music = 0, song = 0, other = 0, unknown = 0, list = 0;
  std::shared_ptr<StandInDevice> device;
};

TEST_F(ResponderTest, ShowsWhatItsMediaSay) {
  const Device mtp = openFirst();
  ASSERT_TRUE(mtp);
  ASSERT_TRUE(mtp->storage && mtp->storage->next);
  EXPECT_STREQ(mtp->storage->StorageDescription, "Phone");
  EXPECT_EQ(mtp->storage->next->id, card);
  EXPECT_THAT(names(mtp.get(), phone), ElementsAre("Music", "Playlists"));
  EXPECT_THAT(names(mtp.get(), phone, music), ElementsAre("Bjørk – 二", "two.flac"));
  EXPECT_THAT(names(mtp.get(), card), ElementsAre("three.mp3"));
  EXPECT_FALSE(LIBMTP_Get_Errorstack(mtp.get()));

  const std::unique_ptr<LIBMTP_track_t, Release> track(LIBMTP_Get_Trackmetadata(mtp.get(), song));
  ASSERT_TRUE(track);
  EXPECT_STREQ(track->title, "Title");
  EXPECT_STREQ(track->artist, "Artist");
  EXPECT_STREQ(track->album, "Album");
  EXPECT_STREQ(track->genre, "Genre");
  EXPECT_STREQ(track->composer, "Composer");
  EXPECT_EQ(track->tracknumber, 7);
  EXPECT_EQ(track->filesize, 5000U);
  EXPECT_FALSE(LIBMTP_Get_Trackmetadata(mtp.get(), unknown));

  const std::unique_ptr<LIBMTP_playlist_t, Release> playlist(LIBMTP_Get_Playlist(mtp.get(), list));
  ASSERT_TRUE(playlist);
  EXPECT_STREQ(playlist->name, "Best of");
  EXPECT_THAT(std::vector(playlist->tracks, playlist->tracks + playlist->no_tracks),
              ElementsAre(other, song, 4711U));
}

// Containers that fill whole packets are followed by an empty one, which libmtp must meet in its
// place: 500 and 1012 bytes make 512 and 1024 with their head.
TEST_F(ResponderTest, SendsPartsOfFilesOfAnySize) {
  std::string content;
  for (unsigned i = 0; i < 70'000; ++i) content += static_cast<char>(i * i >> 3);
  std::uint32_t file = 0;
  device->responder.edit(
      [&](Media& media) { file = media.addFile(card, "/long.mp3", fileContent(content)); });
  const Device mtp = openFirst();
  ASSERT_TRUE(mtp);
  std::uint64_t sent = 0;
  for (const std::uint32_t count : {1U, 499U, 500U, 501U, 1012U, 16'884U, 65'012U, 65'536U}) {
    EXPECT_EQ(part(mtp.get(), file, 1000, count), content.substr(1000, count)) << count;
    sent += count;
  }
  EXPECT_EQ(part(mtp.get(), file, 69'990, 100), content.substr(69'990));
  EXPECT_EQ(device->responder.fileBytes(), sent + 10);
  EXPECT_EQ(device->responder.calls(ptp::kGetPartialObject, file), 9U);
}

TEST_F(ResponderTest, RefusesAndKeepsSilentAsOftenAsToldTo) {
  const Device mtp = openFirst();
  ASSERT_TRUE(mtp);
  const auto subjects = [&] {
    return LIBMTP_Custom_Operation(mtp.get(), 0x1006, 3, phone, 0, music);
  };
  const auto error = [&] {
    const LIBMTP_error_t* first = LIBMTP_Get_Errorstack(mtp.get());
    std::string text = first ? first->error_text : "";
    LIBMTP_Clear_Errorstack(mtp.get());
    return text;
  };
  device->responder.add(refuse(ptp::kGetNumObjects, ptp::kDeviceBusy, 2).startingAfter(1));
  EXPECT_EQ(subjects(), 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_NE(subjects(), 0);
    EXPECT_THAT(error(), testing::HasSubstr("2019"));
  }
  EXPECT_EQ(subjects(), 0);

  device->responder.add(refuse(ptp::kGetObjectInfo, ptp::kInvalidObjectHandle).about(other));
  EXPECT_THAT(names(mtp.get(), phone, music), ElementsAre("Bjørk – 二"));
  device->responder.add(miscount(ptp::kGetObjectHandles, 1'000'000).about(music));
  EXPECT_THAT(names(mtp.get(), phone, music), IsEmpty());
  device->responder.clearFaults();
  device->responder.add(keepSilent(ptp::kGetObjectHandles, 1));
  EXPECT_THAT(names(mtp.get(), phone), IsEmpty());
  EXPECT_THAT(error(), testing::HasSubstr("02ff"));
  EXPECT_THAT(names(mtp.get(), phone), ElementsAre("Music", "Playlists"));
}

TEST_F(ResponderTest, GoesAndComesBackAtAnyTransfer) {
  std::size_t transfers = 0;
  {
    const Device mtp = openFirst();
    ASSERT_TRUE(mtp);
    ASSERT_FALSE(openFirst()) << "the interface is claimed";
    EXPECT_EQ(device->openConnections(), 2) << "libmtp forgets what it could not use";
    transfers = device->transfers();
    EXPECT_THAT(names(mtp.get(), phone, music), SizeIs(2));
    transfers = device->transfers() - transfers;
  }
  for (std::size_t n = 1; n <= transfers; ++n) {
    const Device mtp = openFirst();
    ASSERT_TRUE(mtp);
    device->unplugAtTransfer(n);
    names(mtp.get(), phone, music);
    EXPECT_FALSE(device->isAttached()) << n;
    LIBMTP_raw_device_t* devices = nullptr;
    EXPECT_EQ(detect(&devices), 0);
    device->responder.edit([&](Media& media) {
      media.renumber();
      music = media.handleOf(phone, "/Music");
    });
    libusbStandIn::plugInAgain(device);
    EXPECT_EQ(LIBMTP_Get_Storage(mtp.get(), LIBMTP_STORAGE_SORTBY_NOTSORTED), -1)
        << "the connection is of an earlier attachment";
    const Device again = openFirst();
    ASSERT_TRUE(again);
    EXPECT_THAT(names(again.get(), phone, music), ElementsAre("Bjørk – 二", "two.flac"));
  }
}

TEST_F(ResponderTest, MayBeLockedClosedOrSlow) {
  device->responder.setLocked(true);
  EXPECT_FALSE(openFirst()->storage);
  device->responder.setLocked(false);
  device->refuseOpen(-3);
  EXPECT_FALSE(openFirst());
  device->refuseOpen(0);

  const Device mtp = openFirst();
  ASSERT_TRUE(mtp);
  device->holdTransfers(4);
  std::vector<std::string> found;
  std::jthread reader([&] { found = names(mtp.get(), phone); });
  ASSERT_TRUE(device->awaitHeldTransfer());
  device->releaseTransfers();
  reader.join();
  EXPECT_THAT(found, ElementsAre("Music", "Playlists"));

  device->holdTransfers();
  reader = std::jthread([&] { found = names(mtp.get(), phone); });
  ASSERT_TRUE(device->awaitHeldTransfer());
  device->unplug();
  reader.join();
  EXPECT_THAT(found, IsEmpty());
}

}  // namespace
}  // namespace orvel::test
