#include <gmock/gmock.h>
#include <libusb-1.0/libusb.h>

#include <cstdio>
#include <map>
#include <thread>

#include "phones/DeviceBus.h"
#include "tests/mtp/responder/LibusbStandIn.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Key;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;

using Objects = std::map<std::string, DeviceObject>;  // by path, the storage's id first

/// Asks again as long as the answer is "busy".
template <class Question>
t_status insist(Question question) {
  t_status status = STATUS_BUSY;
  for (int i = 0; i < 100 && status == STATUS_BUSY; ++i) status = question();
  return status;
}

t_status walkFolder(DeviceSession& session, std::uint32_t storage, t_track_id folder,
                    const std::string& path, Objects& found) {
  std::vector<DeviceObject> children;
  t_status status = insist([&] { return session.listFolder(storage, folder, children); });
  for (const DeviceObject& child : children) {
    const std::string childPath = path + "/" + child.name;
    found[childPath] = child;
    if (child.isFolder && status == STATUS_OK) {
      status = walkFolder(session, storage, child.id, childPath, found);
    }
  }
  return status;
}

t_status walk(DeviceSession& session, Objects& found) {
  std::vector<DeviceStorage> storages;
  t_status status = insist([&] { return session.listStorages(storages); });
  for (const DeviceStorage& storage : storages) {
    if (status != STATUS_OK) break;
    status = walkFolder(session, storage.id, 0, storage.description, found);
  }
  return status;
}

/// The session with a device on the stand-in's bus.
class LibmtpSessionTest : public testing::Test {
 protected:
  LibmtpSessionTest() {
    Media media;
    phone = media.addStorage("Phone");
    card = media.addStorage("Card");
    for (unsigned i = 0; i < 5000; ++i) content += static_cast<char>(i * i >> 3U);
    song =
        media.addTrack(phone, "/Music/Album/one.mp3",
                       {"Title", "Artist", "Album", "Genre", "Composer", 7}, fileContent(content));
    other = media.addTrack(phone, "/Music/Album/two.flac", {.title = "二"});
    plain = media.addFile(card, "/three.mp3", fileContent(content));
    best = media.addPlaylist(phone, "/Playlists/Best.pla", "Best of", {other, song, 4711});
    device = libusbStandIn::plugIn(media);
  }
  ~LibmtpSessionTest() override {
    session.reset();
    libusbStandIn::unplugAll();
  }

  t_status open() {
    session.reset();
    session = deviceBus::connect(deviceBus::scan().at(0));
    return session->open(description);
  }
  /// Opens the device and walks over it.
  Objects openAndWalk() {
    Objects found;
    EXPECT_EQ(open(), STATUS_OK) << description.error;
    EXPECT_EQ(walk(*session, found), STATUS_OK);
    device->responder.clearCounters();
    return found;
  }
  /// All that a session can be asked for, until something fails.
  t_status askEverything() {
    Objects found;
    t_status status = walk(*session, found);
    DeviceTags tags;
    std::string bytes;
    std::vector<DevicePlaylist> playlists;
    std::vector<t_track_id> members;
    if (status == STATUS_OK)
      status = session->readTags(found.at("Phone/Music/Album/one.mp3"), tags);
    if (status == STATUS_OK) status = session->readBytes(found.at("Card/three.mp3"), 0, 600, bytes);
    if (status == STATUS_OK) status = session->listPlaylists(playlists);
    if (status == STATUS_OK) status = session->playlistMembers(best, members);
    return status;
  }
  std::size_t operations() const {
    std::size_t sum = 0;
    for (const auto& [operation, count] : device->responder.calls()) sum += count;
    return sum;
  }

  std::string content;
  std::uint32_t phone = 0, card = 0, song = 0, other = 0, plain = 0, best = 0;
  std::shared_ptr<StandInDevice> device;
  DeviceDescription description;
  std::unique_ptr<DeviceSession> session;
};

TEST_F(LibmtpSessionTest, ShowsADeviceAndWhatIsOnIt) {
  device->responder.edit([&](Media& media) {
    media.find(plain)->size = 5ULL << 30U;
    media.find(plain)->modified = "no date";
    media.addFile(card, "/picture.mp3", nullptr, ptp::kJpeg);
    media.addFile(card, "/film.mp4", nullptr, ptp::kMp4);
    media.addFile(card, "/notes.txt");
    media.find(media.addFile(card, "/slash"))->name = u"a/b.mp3";
    media.find(media.addFile(card, "/lone"))->name =
        u"\xD800"
        u"x.mp3";
    media.find(media.addFile(card, "/long"))->name = std::u16string(250, u'名');
  });
  const auto attached = deviceBus::scan();
  ASSERT_THAT(attached, SizeIs(1));
  EXPECT_EQ(attached[0].vendor, 0x46F4);
  EXPECT_EQ(attached[0].product, 0x0004);
  EXPECT_TRUE(deviceBus::isPresent(attached[0].path));
  EXPECT_FALSE(deviceBus::isPresent("001-200") || deviceBus::isPresent("somewhere"));

  const Objects found = openAndWalk();
  EXPECT_EQ(description.maker, "Orvel");
  EXPECT_EQ(description.model, "Test player");
  EXPECT_EQ(description.serial, "R0001");
  std::string longName;
  for (int i = 0; i < 250; ++i) longName += "名";
  EXPECT_THAT(found, UnorderedElementsAre(Key("Phone/Music"), Key("Phone/Music/Album"),
                                          Key("Phone/Music/Album/one.mp3"),
                                          Key("Phone/Music/Album/two.flac"), Key("Phone/Playlists"),
                                          Key("Phone/Playlists/Best.pla"), Key("Card/three.mp3"),
                                          Key("Card/picture.mp3"), Key("Card/film.mp4"),
                                          Key("Card/notes.txt"), Key("Card/a/b.mp3"),
                                          Key("Card/?x.mp3"), Key("Card/" + longName)));
  const DeviceObject& one = found.at("Phone/Music/Album/one.mp3");
  EXPECT_EQ(one.id, song);
  EXPECT_EQ(one.storage, phone);
  EXPECT_EQ(one.size, content.size());
  EXPECT_NE(one.modified, 0);
  EXPECT_TRUE(found.at("Phone/Music").isFolder);
  const DeviceObject& three = found.at("Card/three.mp3");
  EXPECT_EQ(three.size, 5ULL << 30U);
  EXPECT_EQ(three.modified, 0);
  std::vector<std::string> songs;
  for (const auto& [path, object] : found) {
    if (object.isAudio) songs.push_back(path);
  }
  EXPECT_THAT(songs, ElementsAre("Card/?x.mp3", "Card/a/b.mp3", "Card/film.mp4", "Card/three.mp3",
                                 "Phone/Music/Album/one.mp3", "Phone/Music/Album/two.flac"));
}

TEST_F(LibmtpSessionTest, TellsBusyRefusedAndEmptyApart) {
  const Objects before = openAndWalk();
  std::uint32_t folder = 0;
  device->responder.edit([&](Media& media) { folder = media.addFolder(phone, "/Empty"); });
  std::vector<DeviceObject> children;
  EXPECT_EQ(session->listFolder(phone, folder, children), STATUS_OK);
  EXPECT_THAT(children, IsEmpty());

  const t_track_id music = before.at("Phone/Music").id;
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

TEST_F(LibmtpSessionTest, LosesNothingWhileTheDeviceIsBusy) {
  const Objects expected = openAndWalk();
  Objects found;
  ASSERT_EQ(walk(*session, found), STATUS_OK);
  const std::size_t requests = operations();
  for (std::size_t n = 0; n < requests; ++n) {
    ASSERT_EQ(open(), STATUS_OK);  // what an earlier session has seen is not asked for again
    device->responder.add(refuse(ptp::kAnyOperation, ptp::kDeviceBusy, 30).startingAfter(n));
    found.clear();
    EXPECT_EQ(walk(*session, found), STATUS_OK) << n;
    EXPECT_EQ(found.size(), expected.size()) << n;
    EXPECT_EQ(found["Phone/Music/Album/one.mp3"].size, content.size()) << n;
    DeviceTags tags;
    EXPECT_EQ(insist([&] { return session->readTags(found["Phone/Music/Album/one.mp3"], tags); }),
              STATUS_OK);
    EXPECT_EQ(tags.composer, "Composer");
    device->responder.clearFaults();
  }
}

// A device that is free again when it is asked whether it was busy.
TEST_F(LibmtpSessionTest, LosesNothingWhenTheDeviceWasBusyForAMoment) {
  Objects found = openAndWalk();
  const DeviceObject one = found.at("Phone/Music/Album/one.mp3");
  ASSERT_EQ(askEverything(), STATUS_OK);
  const auto calls = device->responder.calls();
  for (const auto operation : {ptp::kGetStorageIds, ptp::kGetStorageInfo, ptp::kGetObjectHandles,
                               ptp::kGetObjectPropsSupported, ptp::kGetObjectPropValue,
                               ptp::kGetPartialObject, ptp::kGetObjectReferences}) {
    for (unsigned n = 0; n < calls.at(operation); ++n) {
      ASSERT_EQ(open(), STATUS_OK);
      found.clear();
      device->responder.add(refuse(operation, ptp::kDeviceBusy, 1).startingAfter(n));
      const auto inThis = [&] { return testing::Message() << std::hex << operation << ", " << n; };
      EXPECT_EQ(walk(*session, found), STATUS_OK) << inThis();
      EXPECT_THAT(found, SizeIs(7)) << inThis();
      EXPECT_EQ(found["Phone/Music/Album/one.mp3"].size, content.size()) << inThis();
      DeviceTags tags;
      EXPECT_EQ(session->readTags(one, tags), STATUS_OK) << inThis();
      EXPECT_EQ(tags.title + tags.artist + tags.album + tags.genre + tags.composer,
                "TitleArtistAlbumGenreComposer")
          << inThis();
      std::string bytes;
      EXPECT_EQ(session->readBytes(one, 4000, 2000, bytes), STATUS_OK) << inThis();
      EXPECT_EQ(bytes, content.substr(4000)) << inThis();
      std::vector<DevicePlaylist> playlists;
      EXPECT_EQ(session->listPlaylists(playlists), STATUS_OK) << inThis();
      ASSERT_THAT(playlists, SizeIs(1)) << inThis();
      EXPECT_EQ(playlists[0].name, "Best of") << inThis();
      std::vector<t_track_id> members;
      EXPECT_EQ(session->playlistMembers(best, members), STATUS_OK) << inThis();
      EXPECT_THAT(members, SizeIs(3)) << inThis();
      device->responder.clearFaults();
    }
  }
  // libmtp leaves such a child out without a word: the only one of its folder is not lost.
  ASSERT_EQ(open(), STATUS_OK);
  found.clear();
  device->responder.add(refuse(ptp::kGetObjectInfo, ptp::kDeviceBusy, 1).about(plain));
  EXPECT_EQ(walk(*session, found), STATUS_OK);
  EXPECT_EQ(found.count("Card/three.mp3"), 1U);
}

TEST_F(LibmtpSessionTest, ReadsTagsOnlyWhereTheDeviceKeepsThem) {
  const Objects found = openAndWalk();
  DeviceTags tags;
  EXPECT_EQ(session->readTags(found.at("Card/three.mp3"), tags), STATUS_NOT_SUPPORTED);
  EXPECT_EQ(operations(), 0U) << "the device was asked what it cannot answer";
  const DeviceObject one = found.at("Phone/Music/Album/one.mp3");
  EXPECT_EQ(session->readTags(one, tags), STATUS_OK);
  EXPECT_EQ(tags.title + tags.artist + tags.album + tags.genre + tags.composer,
            "TitleArtistAlbumGenreComposer");
  EXPECT_EQ(tags.trackNumber, 7);
  EXPECT_EQ(operations(), 9U);

  DeviceIdentity identity;
  identity.formats = {ptp::kUndefined, ptp::kAssociation};  // it plays nothing itself
  device->unplug();
  device = libusbStandIn::plugIn({}, identity);
  ASSERT_EQ(open(), STATUS_OK);
  device->responder.clearCounters();
  EXPECT_EQ(session->readTags(one, tags), STATUS_NOT_SUPPORTED);
  EXPECT_EQ(operations(), 0U);
}

// Some devices refuse a property for good where they have no value for it.
TEST_F(LibmtpSessionTest, TakesWhatADeviceGivesThatRefusesTheRest) {
  device->responder.add(refuse(ptp::kGetObjectPropValue, ptp::kInvalidObjectPropCode).about(song));
  Objects found = openAndWalk();
  EXPECT_EQ(found.at("Phone/Music/Album/two.flac").name, "two.flac");
  DeviceTags tags;
  EXPECT_EQ(session->readTags(found.at("Phone/Music/Album/one.mp3"), tags), STATUS_NOT_OK);
  EXPECT_EQ(session->readTags(found.at("Phone/Music/Album/two.flac"), tags), STATUS_OK);
  EXPECT_EQ(tags.title, "二");
  // It was found out once, and then no folder is listed twice for it.
  EXPECT_EQ(walk(*session, found), STATUS_OK);
  EXPECT_EQ(device->responder.calls(ptp::kGetObjectHandles), 5U);
}

TEST_F(LibmtpSessionTest, ReadsBytesFromAnyPlace) {
  const Objects found = openAndWalk();
  const DeviceObject three = found.at("Card/three.mp3");
  std::string bytes;
  for (const std::uint32_t count : {1U, 500U, 5000U}) {
    EXPECT_EQ(session->readBytes(three, 0, count, bytes), STATUS_OK);
    EXPECT_EQ(bytes, content.substr(0, count));
  }
  EXPECT_EQ(session->readBytes(three, 4990, 100, bytes), STATUS_OK);
  EXPECT_EQ(bytes, content.substr(4990));
  EXPECT_EQ(session->readBytes(three, 5000, 100, bytes), STATUS_OK);
  EXPECT_THAT(bytes, IsEmpty());
  EXPECT_EQ(session->readBytes(three, 5ULL << 32U, 100, bytes), STATUS_OK);
  EXPECT_THAT(bytes, IsEmpty());
  device->responder.add(refuse(ptp::kGetPartialObject, ptp::kAccessDenied));
  EXPECT_EQ(session->readBytes(three, 0, 100, bytes), STATUS_NOT_OK);
  device->responder.edit([&](Media& media) { media.remove(plain); });
  EXPECT_EQ(session->readBytes(three, 0, 100, bytes), STATUS_NOT_OK);
}

TEST_F(LibmtpSessionTest, FetchesFilesOnceWhereNoPartsCanBeRead) {
  device->unplug();
  Media media;
  const std::uint32_t storage = media.addStorage("Phone");
  media.addFile(storage, "/one.mp3", fileContent(content));
  media.addFile(storage, "/two.mp3", fileContent(content + "2"));
  media.find(media.addFile(storage, "/large.wav"))->size = 1U << 30U;
  DeviceIdentity identity;
  identity.operations.erase(ptp::kGetPartialObject);
  device = libusbStandIn::plugIn(media, identity);
  const Objects found = openAndWalk();
  const DeviceObject one = found.at("Phone/one.mp3");
  std::string bytes;
  for (const std::uint64_t offset : {0U, 1000U, 4990U, 5000U, 6000U}) {
    EXPECT_EQ(session->readBytes(one, offset, 100, bytes), STATUS_OK);
    EXPECT_EQ(bytes, offset < content.size() ? content.substr(offset, 100) : "");
  }
  EXPECT_EQ(session->readBytes(found.at("Phone/two.mp3"), 4999, 100, bytes), STATUS_OK);
  EXPECT_EQ(bytes, content.substr(4999) + "2");
  EXPECT_EQ(device->responder.calls(ptp::kGetObject), 2U);
  EXPECT_EQ(session->readBytes(found.at("Phone/large.wav"), 0, 100, bytes), STATUS_NOT_SUPPORTED);
  EXPECT_EQ(device->responder.calls(ptp::kGetObject), 2U);
  device->responder.add(refuse(ptp::kGetObject, ptp::kAccessDenied));
  EXPECT_EQ(session->readBytes(one, 0, 100, bytes), STATUS_NOT_OK);
  EXPECT_THAT(bytes, IsEmpty());
}

TEST_F(LibmtpSessionTest, ShowsNoStorageUntilTheDeviceIsUnlocked) {
  device->responder.setLocked(true);
  Objects found = openAndWalk();
  EXPECT_THAT(found, IsEmpty());
  device->responder.setLocked(false);
  EXPECT_EQ(walk(*session, found), STATUS_OK);
  EXPECT_EQ(found.count("Phone/Music/Album/one.mp3"), 1U);
  EXPECT_EQ(device->connectionsOpened(), 2) << "one to see that it can be opened";
}

TEST_F(LibmtpSessionTest, ListsPlaylistsAndTheirMembers) {
  openAndWalk();
  std::vector<DevicePlaylist> playlists;
  std::vector<t_track_id> members;
  ASSERT_EQ(session->listPlaylists(playlists), STATUS_OK);
  ASSERT_THAT(playlists, SizeIs(1));
  EXPECT_EQ(playlists[0].id, best);
  EXPECT_EQ(playlists[0].name, "Best of");
  ASSERT_EQ(session->playlistMembers(best, members), STATUS_OK);
  EXPECT_THAT(members, ElementsAre(other, song, 4711U));
  EXPECT_EQ(operations(), 4U);
  EXPECT_EQ(session->playlistMembers(song, members), STATUS_NOT_OK);
}

TEST_F(LibmtpSessionTest, NoticesAtAnyTransferThatTheDeviceIsGone) {
  const std::size_t before = device->transfers();
  ASSERT_EQ(open(), STATUS_OK);
  ASSERT_EQ(askEverything(), STATUS_OK);
  const std::size_t transfers = device->transfers() - before;
  for (std::size_t n = 1; n <= transfers; ++n) {
    session.reset();
    device->unplug();
    libusbStandIn::plugInAgain(device);
    device->unplugAtTransfer(n);
    t_status status = open();
    if (status == STATUS_OK) {
      status = askEverything();
    } else {
      EXPECT_THAT(description.error, testing::Not(IsEmpty()));
    }
    EXPECT_EQ(status, STATUS_NOT_OK_BAD_HANDLE) << "transfer " << n;
    EXPECT_FALSE(device->isAttached()) << n;
  }
}

TEST_F(LibmtpSessionTest, SaysWhyADeviceCannotBeOpened) {
  const auto refusal = [this] {
    EXPECT_EQ(open(), STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED);
    return description.error;
  };
  device->refuseOpen(LIBUSB_ERROR_ACCESS);
  EXPECT_THAT(refusal(), HasSubstr("/dev/bus/usb/001/"));
  device->refuseOpen(LIBUSB_ERROR_IO);
  EXPECT_THAT(refusal(), HasSubstr("libusb error -1"));
  device->refuseOpen(0);
  device->refuseClaim(LIBUSB_ERROR_BUSY);
  EXPECT_THAT(refusal(), HasSubstr("Another program uses the device"));
  device->refuseClaim(0);
  EXPECT_EQ(device->openConnections(), 0) << "they would pile up";

  const auto attached = deviceBus::scan().at(0);
  device->unplug();
  session = deviceBus::connect(attached);
  EXPECT_EQ(session->open(description), STATUS_NOT_OK_BAD_HANDLE);
  EXPECT_THAT(description.error, HasSubstr("no longer attached"));
  EXPECT_THAT(deviceBus::scan(), IsEmpty());
  EXPECT_THROW(deviceBus::connect({.path = "1-2"}), std::runtime_error);
  EXPECT_THROW(deviceBus::attachScripted("a.device"), std::runtime_error);

  libusbStandIn::plugInAgain(device);
  device->responder.add(keepSilent(ptp::kOpenSession));
  EXPECT_THAT(refusal(), HasSubstr("does not answer"));
  EXPECT_THAT(refusal(), HasSubstr("does not answer")) << "libmtp itself holds it";
}

// Answers of any wrong length, to each question: statuses may be any, but nothing may break, and
// the session must go on.
TEST_F(LibmtpSessionTest, OutlivesWrongAnswers) {
  const DeviceObject one = openAndWalk().at("Phone/Music/Album/one.mp3");
  for (const auto operation :
       {ptp::kGetStorageIds, ptp::kGetStorageInfo, ptp::kGetObjectHandles, ptp::kGetObjectInfo,
        ptp::kGetObjectPropsSupported, ptp::kGetObjectPropValue, ptp::kGetObjectReferences,
        ptp::kGetPartialObject}) {
    std::vector<Fault> faults = {miscount(operation, 0xFFFFFFFF), miscount(operation, 0x40000000),
                                 replace(operation, std::string(4096, '\xFF'))};
    for (const std::size_t length : {0, 1, 4, 7, 20, 52, 60}) {
      faults.push_back(truncate(operation, length));
    }
    for (const Fault& fault : faults) {
      ASSERT_EQ(open(), STATUS_OK);
      device->responder.add(fault);
      Objects found;
      walk(*session, found);
      DeviceTags tags;
      std::string bytes;
      std::vector<DevicePlaylist> playlists;
      std::vector<t_track_id> members;
      session->readTags(one, tags);
      session->readBytes(one, 10, 100, bytes);
      session->listPlaylists(playlists);
      session->playlistMembers(best, members);
      device->responder.clearFaults();
      EXPECT_EQ(walk(*session, found), STATUS_OK) << std::hex << operation;
      ASSERT_EQ(open(), STATUS_OK);  // libmtp keeps what it was told of objects
      EXPECT_EQ(askEverything(), STATUS_OK) << std::hex << operation;
    }
  }
}

TEST_F(LibmtpSessionTest, KeepsWhatLibmtpPrintsOutOfTheHostsOutput) {
  device->unplug();
  DeviceIdentity android;
  android.extensions = "microsoft.com: 1.0; android.com: 1.0;";
  device = libusbStandIn::plugIn({}, android, {.vendor = 0x1234, .product = 0x5678});
  device->responder.add(keepSilent(ptp::kOpenSession));
  const LogCapture log;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_NE(open(), STATUS_OK);
  device->unplug();
  libusbStandIn::plugInAgain(device);
  device->responder.clearFaults();
  device->holdTransfers();
  std::jthread opening([&] { EXPECT_EQ(open(), STATUS_OK); });
  ASSERT_TRUE(device->awaitHeldTransfer());
  std::printf("meanwhile\n");
  device->releaseTransfers();
  opening.join();
  std::printf("afterwards\n");
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "meanwhile\nafterwards\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(log.texts("libmtp: "), IsSupersetOf({HasSubstr("VID=1234"), HasSubstr("PANIC"),
                                                   HasSubstr("Android device detected")}));
}

}  // namespace
}  // namespace orvel::test
