#include <gmock/gmock.h>
#include <libusb-1.0/libusb.h>

#include <map>

#include "phones/DeviceBus.h"
#include "tests/mtp/responder/Dataset.h"
#include "tests/mtp/responder/StandInDevice.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// Asks again as long as the answer is "busy".
template <class Question>
t_status insist(Question question) {
  t_status status = STATUS_BUSY;
  for (int i = 0; i < 100 && status == STATUS_BUSY; ++i) status = question();
  return status;
}

/// The session with a device on the stand-in's bus.
class LibmtpSessionTest : public testing::Test {
 protected:
  LibmtpSessionTest() {
    for (unsigned i = 0; i < 5000; ++i) content += static_cast<char>(i * i >> 3U);
    phone = media.addStorage(u"Phone");
    card = media.addStorage(u"Card");
    const TrackTags tags{u"Title", u"Artist", u"Album", u"Genre", u"Composer", 7};
    song = media.addTrack(phone, "/Music/Album/one.mp3", tags, content);
    other = media.addTrack(phone, "/Music/Album/two.flac", {.title = u"二"});
    plain = media.add(card, "/three.mp3", ptp::kUndefined, content);
    best = media.addPlaylist(phone, "/Playlists/Best.pla", u"Best of", {other, song, 4711});
  }
  ~LibmtpSessionTest() override {
    session.reset();
    StandInDevice::unplugAll();
  }

  void plugIn(const DeviceIdentity& identity = {}) {
    device = StandInDevice::plugIn(media, identity);
  }
  t_status open() {
    session.reset();
    session = deviceBus::connect(deviceBus::scan().at(0));
    return session->open(description);
  }

  t_status walkFolder(std::uint32_t storage, t_track_id folder, const std::string& path) {
    std::vector<DeviceObject> children;
    t_status status = insist([&] { return session->listFolder(storage, folder, children); });
    for (const DeviceObject& child : children) {
      found[path + "/" + child.name] = child;
      if (!child.isFolder || status != STATUS_OK) continue;
      status = walkFolder(storage, child.id, path + "/" + child.name);
    }
    return status;
  }
  /// Lists everything into `found`, by path, the storage's description first.
  t_status walk() {
    found.clear();
    std::vector<DeviceStorage> storages;
    t_status status = insist([&] { return session->listStorages(storages); });
    for (const DeviceStorage& storage : storages) {
      if (status == STATUS_OK) status = walkFolder(storage.id, 0, storage.description);
    }
    return status;
  }
  void plugInAndWalk(const DeviceIdentity& identity = {}) {
    plugIn(identity);
    ASSERT_EQ(open(), STATUS_OK) << description.error;
    ASSERT_EQ(walk(), STATUS_OK);
    device->responder.clearCounters();
  }

  /// Asks a session for everything, until a call fails; `told` receives the answers.
  t_status askEverything() {
    told.clear();
    t_status status = walk();
    for (const auto& [path, object] : found) told.push_back(path + std::to_string(object.size));
    if (status != STATUS_OK) return status;
    DeviceTags tags;
    std::string bytes;
    std::vector<DevicePlaylist> playlists;
    std::vector<t_track_id> members;
    const DeviceObject one = found["Phone/Music/Album/one.mp3"];
    status = insist([&] { return session->readTags(one, tags); });
    told.push_back(tags.title + tags.artist + tags.album + tags.genre + tags.composer);
    if (status == STATUS_OK)
      status = insist([&] { return session->readBytes(one, 4000, 2000, bytes); });
    told.push_back(bytes);
    if (status == STATUS_OK) status = insist([&] { return session->listPlaylists(playlists); });
    for (const DevicePlaylist& playlist : playlists) told.push_back(playlist.name);
    if (status == STATUS_OK)
      status = insist([&] { return session->playlistMembers(best, members); });
    for (const t_track_id member : members) told.push_back(std::to_string(member));
    return status;
  }

  Media media;
  std::string content;
  std::uint32_t phone = 0, card = 0, song = 0, other = 0, plain = 0, best = 0;
  std::shared_ptr<StandInDevice> device;
  DeviceDescription description;
  std::unique_ptr<DeviceSession> session;
  std::map<std::string, DeviceObject> found;
  std::vector<std::string> told;
};

TEST_F(LibmtpSessionTest, ShowsADeviceAndItsContents) {
  media.objects[plain].size = 5ULL << 30U;
  media.objects[plain].modified = u"no date";
  media.add(card, "/picture.mp3", ptp::kJpeg);
  media.add(card, "/film.mp4", ptp::kMp4);
  media.add(card, "/notes.txt");
  std::u16string& lone = media.objects[media.add(card, "/lone")].name = u"-x.mp3";
  lone[0] = u'\xD800';
  plugIn();
  device->responder.setLocked(true);
  const auto attached = deviceBus::scan();
  ASSERT_THAT(attached, SizeIs(1));
  EXPECT_TRUE(attached[0].vendor == 0x46F4 && attached[0].product == 0x0004);
  EXPECT_TRUE(deviceBus::isPresent(attached[0].path));
  EXPECT_FALSE(deviceBus::isPresent("001-200") || deviceBus::isPresent("somewhere"));
  ASSERT_EQ(open(), STATUS_OK);
  EXPECT_EQ(description.maker + ", " + description.model, "Orvel, Test player");
  EXPECT_EQ(walk(), STATUS_OK);
  EXPECT_THAT(found, IsEmpty());

  device->responder.setLocked(false);
  device->responder.add(refuse(ptp::kGetStorageInfo, ptp::kAccessDenied));
  EXPECT_EQ(walk(), STATUS_NOT_OK) << "not taken for locked";
  device->responder.clearFaults();
  ASSERT_EQ(walk(), STATUS_OK);
  EXPECT_EQ(device->connectionsOpened, 2) << "one to see that it can be opened";
  std::vector<std::string> songs, others;
  for (const auto& [path, object] : found) (object.isAudio ? songs : others).push_back(path);
  EXPECT_THAT(songs, ElementsAre("Card/?x.mp3", "Card/film.mp4", "Card/three.mp3",
                                 "Phone/Music/Album/one.mp3", "Phone/Music/Album/two.flac"));
  EXPECT_THAT(others,
              ElementsAre("Card/notes.txt", "Card/picture.mp3", "Phone/Music", "Phone/Music/Album",
                          "Phone/Playlists", "Phone/Playlists/Best.pla"));
  const DeviceObject& one = found["Phone/Music/Album/one.mp3"];
  EXPECT_TRUE(one.id == song && one.storage == phone && one.size == 5000 && one.modified != 0);
  const DeviceObject& three = found["Card/three.mp3"];
  EXPECT_TRUE(three.size == 5ULL << 30U && three.modified == 0);
}

TEST_F(LibmtpSessionTest, TellsBusyRefusedAndEmptyApart) {
  const std::uint32_t folder = media.add(phone, "/Empty", ptp::kAssociation);
  plugInAndWalk();
  const t_track_id music = found["Phone/Music"].id;
  std::vector<DeviceObject> children;
  EXPECT_EQ(session->listFolder(phone, folder, children), STATUS_OK);
  EXPECT_THAT(children, IsEmpty());
  device->responder.add(refuse(ptp::kGetObjectHandles, ptp::kAccessDenied).about(music));
  EXPECT_EQ(session->listFolder(phone, music, children), STATUS_NOT_OK);
  device->responder.add(refuse(ptp::kGetNumObjects, ptp::kDeviceBusy));
  EXPECT_EQ(session->listFolder(phone, music, children), STATUS_BUSY);
  device->responder.clearFaults();
  device->responder.add(keepSilent(ptp::kGetObjectHandles, 1));
  EXPECT_EQ(session->listFolder(phone, music, children), STATUS_NOT_OK_GENERIC_PLUGIN_ERROR);
  EXPECT_THAT(children, IsEmpty());
  EXPECT_EQ(session->listFolder(phone, music, children), STATUS_OK);
  EXPECT_THAT(children, SizeIs(1));
}

// For thirty operations, and for a single one: the device is then free again when it is asked
// whether it was busy.
TEST_F(LibmtpSessionTest, LosesNothingWhileTheDeviceIsBusy) {
  plugInAndWalk();
  ASSERT_EQ(askEverything(), STATUS_OK);
  const auto expected = told;
  ASSERT_THAT(expected, SizeIs(7 + 2 + 1 + 3));
  auto calls = device->responder.calls();
  calls[ptp::kAnyOperation] = device->responder.operations();
  for (const auto operation :
       {ptp::kAnyOperation, ptp::kGetStorageIds, ptp::kGetStorageInfo, ptp::kGetObjectHandles,
        ptp::kGetObjectPropsSupported, ptp::kGetObjectPropValue, ptp::kGetPartialObject,
        ptp::kGetObjectReferences}) {
    const unsigned times = operation == ptp::kAnyOperation ? 30 : 1;
    for (unsigned n = 0; n < calls.at(operation); ++n) {
      ASSERT_EQ(open(), STATUS_OK);  // libmtp remembers objects for as long as a session
      device->responder.add(refuse(operation, ptp::kDeviceBusy, times).startingAfter(n));
      EXPECT_EQ(askEverything(), STATUS_OK) << std::hex << operation << ", " << n;
      EXPECT_EQ(told, expected) << std::hex << operation << ", " << n;
      device->responder.clearFaults();
    }
  }
}

TEST_F(LibmtpSessionTest, ReadsTagsOnlyWhereTheDeviceKeepsThem) {
  plugInAndWalk();
  DeviceTags tags;
  EXPECT_EQ(session->readTags(found["Card/three.mp3"], tags), STATUS_NOT_SUPPORTED);
  EXPECT_EQ(device->responder.operations(), 0U) << "the device was asked what it cannot answer";
  const DeviceObject one = found["Phone/Music/Album/one.mp3"];
  device->responder.add(refuse(ptp::kGetObjectPropValue, ptp::kInvalidObjectPropCode).about(song));
  EXPECT_EQ(session->readTags(one, tags), STATUS_NOT_OK);
  EXPECT_EQ(session->readTags(found["Phone/Music/Album/two.flac"], tags), STATUS_OK);
  EXPECT_EQ(tags.title, "二");

  device->unplug();
  plugInAndWalk({.formats = {ptp::kUndefined, ptp::kAssociation}});  // it plays nothing itself
  EXPECT_EQ(session->readTags(one, tags), STATUS_NOT_SUPPORTED);
  EXPECT_EQ(device->responder.operations(), 0U);
}

TEST_F(LibmtpSessionTest, ReadsBytesFromAnyPlace) {
  plugInAndWalk();
  const DeviceObject three = found["Card/three.mp3"];
  std::string bytes;
  // With their head of twelve bytes 500 and 1012 fill whole packets.
  for (const std::uint32_t count : {1U, 499U, 500U, 501U, 1012U, 5000U}) {
    EXPECT_EQ(session->readBytes(three, 0, count, bytes), STATUS_OK);
    EXPECT_EQ(bytes, content.substr(0, count));
  }
  for (const std::uint64_t offset : {4990ULL, 5000ULL, 5ULL << 32U}) {
    EXPECT_EQ(session->readBytes(three, offset, 100, bytes), STATUS_OK);
    EXPECT_EQ(bytes, offset > 5000 ? "" : content.substr(offset));
  }
  device->responder.add(refuse(ptp::kGetPartialObject, ptp::kAccessDenied));
  EXPECT_EQ(session->readBytes(three, 0, 100, bytes), STATUS_NOT_OK);
}

TEST_F(LibmtpSessionTest, FetchesFilesOnceWhereNoPartsCanBeRead) {
  media.add(card, "/four.mp3", ptp::kUndefined, content + "4");
  media.objects[media.add(card, "/large.wav")].size = 1U << 30U;
  plugInAndWalk({.readsParts = false});
  std::string bytes;
  for (const std::uint64_t offset : {0U, 4990U, 5000U, 6000U}) {
    EXPECT_EQ(session->readBytes(found["Card/three.mp3"], offset, 100, bytes), STATUS_OK);
    EXPECT_EQ(bytes, offset < 5000 ? content.substr(offset, 100) : "");
  }
  EXPECT_EQ(session->readBytes(found["Card/four.mp3"], 4999, 100, bytes), STATUS_OK);
  EXPECT_EQ(bytes, content.substr(4999) + "4");
  EXPECT_EQ(session->readBytes(found["Card/large.wav"], 0, 100, bytes), STATUS_NOT_SUPPORTED);
  EXPECT_EQ(device->responder.calls()[ptp::kGetObject], 2U);
  device->responder.add(refuse(ptp::kGetObject, ptp::kAccessDenied));
  EXPECT_EQ(session->readBytes(found["Card/three.mp3"], 0, 100, bytes), STATUS_NOT_OK);
  EXPECT_THAT(bytes, IsEmpty());
}

TEST_F(LibmtpSessionTest, NoticesAtAnyTransferThatTheDeviceIsGone) {
  plugIn();
  ASSERT_EQ(open(), STATUS_OK);
  ASSERT_EQ(askEverything(), STATUS_OK);
  const std::size_t transfers = device->transfers;
  for (std::size_t n = 1; n <= transfers; ++n) {
    session.reset();
    device->plugInAgain();
    device->unplugAtTransfer(n);
    const t_status status = open();
    EXPECT_EQ(description.error.empty(), status == STATUS_OK);
    EXPECT_EQ(status == STATUS_OK ? askEverything() : status, STATUS_NOT_OK_BAD_HANDLE) << n;
    EXPECT_THAT(deviceBus::scan(), IsEmpty()) << n;
  }
}

TEST_F(LibmtpSessionTest, SaysWhyADeviceCannotBeOpened) {
  plugIn();
  const auto refusal = [this] {
    EXPECT_EQ(open(), STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED);
    return description.error;
  };
  device->openError = LIBUSB_ERROR_ACCESS;
  EXPECT_THAT(refusal(), HasSubstr("/dev/bus/usb/001/"));
  device->openError = LIBUSB_ERROR_IO;
  EXPECT_THAT(refusal(), HasSubstr("libusb error -1"));
  device->openError = 0;
  device->claimError = LIBUSB_ERROR_BUSY;
  EXPECT_THAT(refusal(), HasSubstr("Another program uses the device"));
  device->claimError = 0;
  EXPECT_EQ(device->openConnections, 0) << "they would pile up";

  const auto attached = deviceBus::scan().at(0);
  device->unplug();
  session = deviceBus::connect(attached);
  EXPECT_EQ(session->open(description), STATUS_NOT_OK_BAD_HANDLE);
  EXPECT_THAT(description.error, HasSubstr("no longer attached"));
  EXPECT_THROW(deviceBus::connect({.path = "1-2"}), std::runtime_error);

  device->plugInAgain();
  device->responder.add(keepSilent(ptp::kOpenSession));
  EXPECT_THAT(refusal(), HasSubstr("does not answer"));
  EXPECT_THAT(refusal(), HasSubstr("does not answer")) << "libmtp itself holds it";
}

// Whatever the statuses, nothing may break, and the session must go on.
TEST_F(LibmtpSessionTest, OutlivesAnswersOfWrongLength) {
  plugInAndWalk();
  std::vector<std::function<void(std::string&)>> errors = {
      [](std::string& data) { data.assign(4096, '\xFF'); },
      [](std::string& data) { data.replace(0, 4, Dataset().u32(0xFFFFFFFF).bytes()); },
      [](std::string& data) { data.replace(0, 4, Dataset().u32(0x40000000).bytes()); }};
  for (const std::size_t length : {0, 1, 4, 7, 20, 52, 60}) {
    errors.push_back([length](auto& data) { data.resize(std::min(data.size(), length)); });
  }
  for (const auto operation :
       {ptp::kGetStorageIds, ptp::kGetStorageInfo, ptp::kGetObjectHandles, ptp::kGetObjectInfo,
        ptp::kGetObjectPropsSupported, ptp::kGetObjectPropValue, ptp::kGetObjectReferences,
        ptp::kGetPartialObject}) {
    for (const auto& error : errors) {
      ASSERT_EQ(open(), STATUS_OK);
      device->responder.add({.operation = operation, .rewrite = error});
      askEverything();
      device->responder.clearFaults();
      EXPECT_EQ(walk(), STATUS_OK) << std::hex << operation;
      ASSERT_EQ(open(), STATUS_OK);  // libmtp keeps what it was told of objects
      EXPECT_EQ(askEverything(), STATUS_OK) << std::hex << operation;
    }
  }
}

}  // namespace
}  // namespace orvel::test
