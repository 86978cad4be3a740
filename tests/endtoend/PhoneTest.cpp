#include <gmock/gmock.h>
#include <orvel/MtpDevice.h>

#include <chrono>
#include <functional>

#include "base/Md5.h"
#include "tags/TagReading.h"
#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedPhone.h"
#include "tests/support/contentOf.h"
#include "tests/support/sparseSong.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

using scripted::Fault;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;
using Effect = Fault::Effect;

constexpr char kMountPoint[] = "mtp-folder://phone1";

class PhoneTest : public IndexerHost {
 protected:
  static std::vector<std::string> query(const std::string& sql) { return rowsOf("phone1", sql); }
  std::string status() { return manager.getStatus("phone1", kMountPoint); }
  ProgressSnapshot phoneProgress() const { return *controller->progressOf(kMountPoint); }
  /// The rows that matter to a head unit, whatever their ids.
  static std::vector<std::string> contents() {
    return query(
        "SELECT PATH, OBJECTID, TITLE, ARTIST, TRACKIND FROM SONGS JOIN ARTISTS USING (ARTISTID)"
        " ORDER BY PATH; SELECT PATH, PARENT_ID FROM DIRECTORIES ORDER BY PATH;"
        "SELECT PLAYPATH, TRACKID FROM PLAYLISTS ORDER BY PLAYPATH, TRACKID;");
  }

  ScriptedPhone phone;
};

TEST_F(PhoneTest, FirstRunStoresAndJoinsEverything) {
  indexPhone(phone.plugIn());
  EXPECT_EQ(status(), "OK");
  EXPECT_THAT(query("SELECT PATH, PARENT_ID FROM DIRECTORIES ORDER BY PATH"),
              ElementsAre("|phone1", "/Music|phone1",
                          "/Music/A|" + Md5(Md5Kind::Directory, "/Music").text()));
  EXPECT_THAT(query("SELECT S.PATH, S.NAME, TITLE, ARTIST, ALBUM, GENRE, COMPOSER, TRACKIND,"
                    " DISCNUM, LASTMODIFIED, D.PATH FROM SONGS S JOIN ARTISTS USING (ARTISTID)"
                    " JOIN ALBUMS USING (ALBUMID) JOIN GENRES USING (GENREID)"
                    " JOIN COMPOSERS USING (COMPOSERID)"
                    " JOIN DIRECTORIES D ON D.OBJECTID = S.DIRECTORYID"
                    " AND D.PARTITION_ID = S.PARTITION_ID"),
              ElementsAre("/Music/A/s.mp3|s.mp3|T|X|Album|Genre|Composer|3|1|0|/Music/A"));
  const std::string list = "mtp-playlist://" + std::to_string(phone.idOf("/Best")) + "/Best";
  EXPECT_THAT(query("SELECT PLAYPATH, PLAYNAME, TRACKPATH = TRACKID FROM PLAYLISTS"
                    " JOIN SONGS ON TRACKID = OBJECTID"),
              ElementsAre(list + "|Best|1", list + "|Best|1"));
  EXPECT_THAT(takeSignals(),
              testing::AllOf(Contains("crawlingFinished " + std::string(kMountPoint)).Times(1),
                             Contains("indexingFinished " + std::string(kMountPoint)).Times(1),
                             Not(Contains(testing::StartsWith("databaseExists")))));
}

TEST_F(PhoneTest, AnUnchangedPhoneChangesNothingAlsoUnderOtherObjectIds) {
  phone.device.renumbers = true;
  indexPhone(phone.plugIn());
  const auto before = everything("phone1");
  takeSignals();
  indexPhone(phone.handle);
  EXPECT_EQ(everything("phone1"), before);
  EXPECT_EQ(phone.count("readTags"), 1U) << "nothing is read twice";
  EXPECT_THAT(takeSignals(), Not(Contains("contentModified " + std::string(kMountPoint))));
  const auto song = query("SELECT * FROM SONGS");

  phone.replug();
  indexPhone(phone.handle);
  EXPECT_EQ(query("SELECT * FROM SONGS"), song);
  EXPECT_EQ(phone.count("readTags"), 0U);
  EXPECT_THAT(query("SELECT PLAYPATH FROM PLAYLISTS JOIN SONGS ON TRACKID = OBJECTID"),
              ElementsAre(testing::_, testing::_))
      << "playlists that are read again still meet their songs";
  EXPECT_EQ(findObject("phone1", query("SELECT OBJECTID FROM SONGS")[0]),
            phone.idOf("/Music/A/s.mp3"));
}

/// Seconds until no request is alive.
double secondsUntil(const std::function<void()>& ended) {
  const auto begin = std::chrono::steady_clock::now();
  ended();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

TEST_F(PhoneTest, RemovalAtAnyCallEndsTheRunAndTheNextOneRepairs) {
  phone.device.addTrack("/Music/B/t.mp3").tags = tags("U", "Y");
  phone.device.addPlaylist("/Worst", {"/Music/B/t.mp3", "/Music/A/s.mp3"});
  indexPhone(phone.plugIn());
  const auto complete = contents();
  const unsigned calls = phone.live->journal().calls;
  ASSERT_GT(calls, 30U);
  for (unsigned call = 1; call <= calls; ++call) {
    SCOPED_TRACE("removed at call " + std::to_string(call));
    manager.deleteDb("phone1");
    phone.device.addFault({.at = scripted::kAtAnyCall, .effect = Effect::Remove, .from = call});
    indexPhone(phone.plugIn());
    EXPECT_TRUE(status() == "PROGRESS" || contents() == complete);
    phone.device.faults.clear();
    for (int run = 0; run < 2; ++run) {
      indexPhone(phone.plugIn());
      EXPECT_EQ(contents(), complete);
      EXPECT_EQ(status(), "OK");
    }
    scripted::clear();
  }
}

TEST_F(PhoneTest, StoppingNeverWaitsForTheDevice) {
  for (const char* at : {"listStorages", "listFolder", "readTags", "listPlaylists",
                         "playlistMembers", "readBytes"}) {
    SCOPED_TRACE(at);
    manager.deleteDb("phone1");
    ScriptedPhone slow;
    slow.device.addTrack("/Music/untagged.mp3").content = "no song";
    // The host's own question for the storages comes first.
    const unsigned from = std::string(at) == "listStorages" ? 2 : 1;
    slow.device.addFault({.at = at, .effect = Effect::Block, .from = from});
    const Readiness readiness(slow.plugIn());
    startPhone(slow.handle);
    ASSERT_TRUE(waitUntil([&] { return slow.live->blocked() == 1; }));
    // A newer request for the same device stops the one that waits.
    EXPECT_LT(secondsUntil([&] { startPhone(slow.handle); }), 1.0);
    slow.live->release();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(status(), "OK");
  }
}

TEST_F(PhoneTest, StoppingNeverWaitsForReadinessNorForABusyDevice) {
  const LogCapture log;
  startPhone(phone.plugIn());
  ASSERT_TRUE(log.waitFor("waitDeviceReady"));
  phone.device.addFault(
      {.at = "Access_GetItems", .times = scripted::kForEver, .status = STATUS_BUSY});
  phone.update();
  EXPECT_LT(secondsUntil([&] { startPhone(phone.handle); }), 1.0);
  ASSERT_TRUE(log.waitFor(" Processing from portix API. count = 1"));
  EXPECT_LT(secondsUntil([&] {
              controller->stop();
              controller->join();
            }),
            1.0);
}

TEST_F(PhoneTest, SticksComeBeforePhones) {
  writeSong(stick + "/s.mp3", {"Stick", "X"});
  ScriptedPhone second;
  second.device.serial = "phone2";
  const Readiness readiness(phone.plugIn());
  const Readiness secondReadiness(second.plugIn());
  phone.device.addFault({"listFolder", Effect::Block});
  phone.update();
  OrvelQTProxy& facade = OrvelQTProxy::instance();
  startPhone(phone.handle);
  ASSERT_TRUE(waitUntil([&] { return phone.live->blocked() == 1; }));
  facade.startMtpIndexing("phone2", second.handle, true);
  start("dev1", stick);
  phone.live->release();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_THAT(takeFinished(), ElementsAre(kMountPoint, stick, "mtp-folder://phone2"));
}

TEST_F(PhoneTest, StrangeDevicesAreIndexedAndStayAsTheyAre) {
  scripted::ScriptedDevice& device = phone.device;
  device.addTrack("/Music/AC//DC.mp3").tags = tags("Slash", "X");
  device.addTrack("/Music/bad \xff\xfe name.mp3").tags = tags("Ill \xff formed", "X");
  device.addTrack("/Music/" + std::string(300, 'n') + ".mp3");
  device.addTrack("/Music/" + std::string(300, 'u') + "\xc3\xa4.mp3").tags =
      tags(std::string(254, 't') + "\xc3\xa4", "");
  device.addTrack("/Music/twice.mp3").modified = -5;
  device.addTrack("/Music/twice.mp3");
  device.addTrack("/Music/x.OGG");
  device.addTrack("/Music/aogg");
  device.addTrack("/Music/.hidden/x.mp3");
  device.addTrack("/Music/.x.mp3");
  device.addTrack("/dcim/x.mp3");
  device.addTrack("/DCIM2/a.b.oga");
  device.addTrack("/Music/Android/kept.mp3");
  writeSparseSong(temporary.path("huge.mp3"), "Huge", kThreeGibibytes);
  device.addTrack("/Music/huge.mp3").file = temporary.path("huge.mp3");
  device.addFolder("/Music/Again").target = "/Music";
  device.addPlaylist("/AC//DC", {"/Music/A/s.mp3"});
  device.addPlaylist("/Gone", {"/Music/nowhere.mp3"});
  device.addPlaylist("/Empty", {});
  device.addStorage("Card");
  device.addTrack("/Music/A/s.mp3").tags = tags("On the card", "X");
  device.addStorage("Card");
  device.addTrack("/Music/A/s.mp3").tags = tags("On the other card", "X");
  indexPhone(phone.plugIn());
  EXPECT_EQ(status(), "OK");
  const std::string longName(300, 'n');
  EXPECT_THAT(query("SELECT PATH FROM SONGS"),
              testing::IsSupersetOf(std::vector<std::string>{
                  "/Music/A/s.mp3", "/Music/AC_DC.mp3", "/Music/bad \xff\xfe name.mp3",
                  "/Music/" + longName + ".mp3", "/Music/twice.mp3", "/Music/Android/kept.mp3",
                  "/DCIM2/a.b.oga"}));
  EXPECT_THAT(query("SELECT COUNT(*), COUNT(DISTINCT OBJECTID), COUNT(DISTINCT PATH) FROM SONGS"),
              ElementsAre("11|11|11"));
  EXPECT_THAT(query("SELECT PATH FROM SONGS WHERE TITLE LIKE 'On the%'"),
              testing::Each(testing::MatchesRegex("/Card [0-9a-f]{8}/Music/A/s.mp3")));
  EXPECT_THAT(query("SELECT COUNT(*) FROM SONGS WHERE TITLE = '" + std::string(254, 't') +
                    "' OR TITLE = 'Ill \xef\xbf\xbd formed' OR TITLE = 'Huge'"),
              ElementsAre("3"));
  EXPECT_THAT(query("SELECT DISTINCT PLAYNAME FROM PLAYLISTS ORDER BY PLAYNAME"),
              ElementsAre("Best", "DC"));
  EXPECT_THAT(query("SELECT PATH FROM DIRECTORIES WHERE PATH = '/dcim' OR PATH LIKE '%/.%'"),
              IsEmpty());
  const auto before = everything("phone1");
  indexPhone(phone.handle);
  EXPECT_EQ(everything("phone1"), before);
}

TEST_F(PhoneTest, MoreTracksThanTheLimitAreCutAndTold) {
  phone.device.objects.clear();
  for (int i = 0; i < 16001; ++i) {
    phone.device.addTrack("/Music/" + std::to_string(100000 + i) + ".mp3").tags =
        tags("T" + std::to_string(i), "X");
  }
  indexPhone(phone.plugIn());
  EXPECT_EQ(status(), "OK");
  EXPECT_THAT(query("SELECT COUNT(*), MAX(PATH) FROM SONGS"),
              ElementsAre("16000|/Music/115999.mp3"));
  EXPECT_TRUE(phoneProgress().limitReached);
  EXPECT_EQ(phone.count("listFolder"), 2U);
  EXPECT_EQ(phone.count("readTags"), 16000U);
}

TEST_F(PhoneTest, WhatCannotBeSeenIsNotCalledComplete) {
  phone.device.addTrack("/Music/B/t.mp3").tags = tags("U", "Y");
  indexPhone(phone.plugIn());
  const auto complete = contents();
  for (const Fault& fault :
       {Fault{.at = "Access_GetNumElements", .status = STATUS_NOT_OK_GENERIC_PLUGIN_ERROR},
        Fault{"Access_GetPlaylistElements"}, Fault{"Access_GetItems"},
        Fault{scripted::kAtPage, Effect::Items, "/Music"}, Fault{scripted::kAtCount, Effect::Items},
        Fault{"Command_SelectCategory"}}) {
    SCOPED_TRACE(fault.at);
    phone.device.addFault(fault).times = scripted::kForEver;
    phone.update();
    manager.deleteDb("phone1");
    indexPhone(phone.handle);
    EXPECT_EQ(status(), "PROGRESS");
    phone.device.faults.clear();
    phone.update();
    indexPhone(phone.handle);
    EXPECT_EQ(status(), "OK");
    EXPECT_EQ(contents(), complete);
  }
}

TEST_F(PhoneTest, TagsReadInIsolationAreThoseReadInProcessAndABadTrackCostsItself) {
  for (const std::string extension : {".mp3", ".m4a", ".flac", ".wma", ".wav"}) {
    const std::string path = temporary.path("song" + extension);
    writeSong(path, {"Title " + extension, "Künstler", "アルバム"});
    const std::string content = contentOf(path);
    phone.device.addTrack("/Music/whole" + extension).content = content;
    phone.device.addTrack("/Music/cut" + extension).content = content.substr(0, content.size() / 3);
  }
  phone.device.addTrack("/Music/bad.mp3").content = "!crash.";
  indexPhone(phone.plugIn());
  const auto inProcess = contents();
  EXPECT_THAT(inProcess, Contains(testing::HasSubstr("|Title .m4a|Künstler|")));
  manager.deleteDb("phone1");
  const LogCapture log;
  setTagReading(TagReading::Isolated, ORVEL_HOSTILE_TAG_READER);
  indexPhone(phone.handle);
  setTagReading(TagReading::InProcess);
  EXPECT_EQ(contents(), inProcess);
  EXPECT_THAT(log.texts("tag reader"), testing::SizeIs(1));
}

TEST_F(PhoneTest, AFullDatabaseTakesNoMoreSongs) {
  indexPhone(phone.plugIn());
  query("UPDATE SONGS SET NAME = zeroblob(87000000)");
  phone.device.addTrack("/Music/B/t.mp3").tags = tags("U", "Y");
  phone.update();
  indexPhone(phone.handle);
  EXPECT_EQ(status(), "OK");
  EXPECT_THAT(query("SELECT TITLE FROM SONGS"), ElementsAre("T"));
}

TEST_F(PhoneTest, APhoneThatIsNeverReadyKeepsItsDirectoriesAndIsReadAgain) {
  indexPhone(phone.plugIn());
  const auto complete = contents();
  const LogCapture log;
  startPhone(phone.handle);
  ASSERT_TRUE(log.waitFor("waitDeviceReady"));
  MtpDevice::instance().disconnectDevice(phone.handle);
  ASSERT_TRUE(waitUntil([&] {
    // The readiness of another device ends the wait, too.
    MtpDevice::instance().setDeviceReady(phone.handle + 1);
    return controller->liveRequests() == 0;
  }));
  EXPECT_THAT(query("SELECT * FROM DIRECTORIES"), testing::SizeIs(3));
  EXPECT_EQ(status(), "PROGRESS");
  indexPhone(phone.handle);
  EXPECT_EQ(contents(), complete);
}

TEST_F(PhoneTest, AFolderThatCannotBeListedKeepsItsRowsUntilItIsRemoved) {
  phone.device.addTrack("/Music/B/t.mp3").tags = tags("U", "Y");
  indexPhone(phone.plugIn());
  const auto before = everything("phone1");
  phone.device.addFault({.at = "listFolder", .path = "/Music/B", .times = scripted::kForEver});
  phone.update();
  indexPhone(phone.handle);
  EXPECT_EQ(everything("phone1"), before);

  phone.device.faults.clear();
  std::erase_if(phone.device.objects,
                [](const auto& object) { return object.path.starts_with("/Music/B"); });
  phone.update();
  indexPhone(phone.handle);
  EXPECT_THAT(query("SELECT PATH FROM DIRECTORIES ORDER BY PATH; SELECT PATH FROM SONGS"),
              ElementsAre("", "/Music", "/Music/A", "/Music/A/s.mp3"));
}

}  // namespace
}  // namespace orvel::test
