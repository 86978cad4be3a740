#include <gmock/gmock.h>
#include <orvel/MtpDevice.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "base/Md5.h"
#include "tags/TagReading.h"
#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/support/Effort.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedPhone.h"
#include "tests/support/contentOf.h"
#include "tests/support/sparseSong.h"
#include "tests/support/waitUntil.h"

namespace {
/// How many texts are copied until one finds no memory; not above 0 for never.
std::atomic<long> textsUntilNoMemory{0};
}  // namespace

/// In place of the C library's: the lists of device access copy their texts with it.
extern "C" char* strdup(const char* text) noexcept {
  if (textsUntilNoMemory > 0 && --textsUntilNoMemory == 0) return nullptr;
  const std::size_t bytes = std::strlen(text) + 1;
  void* const copy = std::malloc(bytes);
  return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, bytes));
}

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
        "SELECT PATH, OBJECTID, TITLE, ARTIST, TRACKIND, LASTMODIFIED FROM SONGS JOIN ARTISTS "
        "USING (ARTISTID)"
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
  EXPECT_EQ(phone.count("listFolder"), 4U) << "nothing vouches for the first listing";
  EXPECT_EQ(phone.count("readTags"), 16000U);
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
  EXPECT_THAT(log.texts("for track: bad.mp3"), testing::SizeIs(1));
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

/// A request to a phone, one call of which fails.
class FailingPhoneTest : public PhoneTest {
 protected:
  struct Case {
    Fault fault;
    unsigned failingText = 0;  ///< the first text of a list that finds no memory; 0 for none
    bool isStored = false;     ///< the phone was indexed before
  };

  FailingPhoneTest() {
    writeSong(temporary.path("plain.mp3"), {"From the bytes", "Y"});
    phone.device.addTrack("/Music/B/plain.mp3").content = contentOf(temporary.path("plain.mp3"));
    phone.device.addPlaylist("/Worst", {"/Music/B/plain.mp3", "/Music/A/s.mp3"});
  }

  /// A phone shows its storages to the host before a request.
  static unsigned firstOf(const std::string& function) {
    return function == "listStorages" ? 2 : 1;
  }

  /// Every call of every kind, failing in every way.
  std::vector<Case> allCases() {
    const scripted::Journal calls = phone.live->journal();
    std::vector<Case> cases;
    const auto add = [&cases](const Fault& fault) {
      cases.push_back({fault});
      cases.push_back({.fault = fault, .isStored = true});
    };
    for (unsigned n = 1; n <= calls.calls; ++n) {
      add({.at = scripted::kAtAnyCall, .effect = Effect::Remove, .from = n});
      for (const t_status status : {STATUS_NOT_OK, STATUS_NOT_OK_GENERIC_PLUGIN_ERROR})
        add({.at = scripted::kAtAnyCall, .from = n, .status = status});
    }
    for (const char* at : {"listStorages", "listFolder", "readTags", "readBytes", "listPlaylists",
                           "playlistMembers"}) {
      for (unsigned n = firstOf(at); n <= calls.counts.at(at); ++n) {
        add({.at = at, .effect = Effect::Remove, .from = n});
        for (const t_status status :
             {STATUS_NOT_OK, STATUS_NOT_OK_GENERIC_PLUGIN_ERROR, STATUS_BUSY})
          add({.at = at, .from = n, .status = status});
      }
    }
    for (const char* at : {"listStorages", "listFolder", "readBytes"}) {
      for (unsigned n = firstOf(at); n <= calls.counts.at(at); ++n)
        add({.at = at, .effect = Effect::Items, .from = n});
    }
    add({.at = scripted::kAtCount, .effect = Effect::Items});
    add({.at = scripted::kAtPage,
         .effect = Effect::Items,
         .path = "/Music",
         .times = scripted::kForEver});
    for (unsigned n = 1; n <= textsOfARun; ++n) cases.push_back({.fault = {}, .failingText = n});
    return cases;
  }

  void run(const Case& failing, const std::vector<std::string>& complete) {
    SCOPED_TRACE(failing.fault.at + " " + std::to_string(failing.fault.from) + ", effect " +
                 std::to_string(static_cast<int>(failing.fault.effect)) + ", status " +
                 std::to_string(failing.fault.status) + ", text " +
                 std::to_string(failing.failingText) + (failing.isStored ? ", stored" : ""));
    if (!failing.isStored) manager.deleteDb("phone1");
    scripted::clear();
    phone.device.faults = {failing.fault};
    phone.plugIn();
    textsUntilNoMemory = failing.failingText;
    indexPhone(phone.handle);
    textsUntilNoMemory = 0;
    EXPECT_TRUE(status() == "PROGRESS" || contents() == complete);
    EXPECT_THAT(query("SELECT PATH FROM SONGS WHERE PATH = '' OR OBJECTID = ''"), IsEmpty());
    if (failing.isStored) {
      EXPECT_EQ(songsAndDirectories(), storedBefore);
    }
    scripted::clear();
    phone.device.faults.clear();
    indexPhone(phone.plugIn());
    EXPECT_EQ(contents(), complete);
    EXPECT_EQ(status(), "OK");
  }

  static std::vector<std::string> songsAndDirectories() {
    return query(
        "SELECT PATH, TITLE FROM SONGS ORDER BY PATH;"
        "SELECT PATH FROM DIRECTORIES ORDER BY PATH;");
  }

  unsigned textsOfARun = 0;
  std::vector<std::string> storedBefore;
};

TEST_F(FailingPhoneTest, NoFailureIsCalledCompleteAndTheNextRequestRepairsIt) {
  constexpr long kMany = 1U << 20U;
  phone.plugIn();
  textsUntilNoMemory = kMany;
  indexPhone(phone.handle);
  textsOfARun = static_cast<unsigned>(kMany - textsUntilNoMemory.exchange(0));
  const auto complete = contents();
  storedBefore = songsAndDirectories();
  const std::vector<Case> cases = allCases();
  ASSERT_GT(textsOfARun, 10U);
  std::mt19937_64 random = seededRandom();
  for (const long n : spread(static_cast<long>(cases.size()), casesOf(60, 100000), random))
    run(cases[static_cast<std::size_t>(n - 1)], complete);
}

TEST_F(FailingPhoneTest, ASongThatCannotBeReadIsTriedTwice) {
  phone.device.addFault({.at = "readBytes", .times = scripted::kForEver});
  indexPhone(phone.plugIn());
  const auto songs = [] {
    return query("SELECT NAME, TITLE, LASTMODIFIED FROM SONGS ORDER BY NAME");
  };
  EXPECT_EQ(status(), "PROGRESS");
  EXPECT_THAT(songs(), ElementsAre("plain.mp3||-1", "s.mp3|T|0"));
  scripted::clear();
  indexPhone(phone.plugIn());
  EXPECT_EQ(status(), "OK") << "one bad song does not keep the phone from being complete";
  EXPECT_THAT(songs(), ElementsAre("plain.mp3||0", "s.mp3|T|0"));
  EXPECT_EQ(phone.count("readTags"), 1U);
  const auto after = everything("phone1");
  indexPhone(phone.handle);
  EXPECT_EQ(everything("phone1"), after);
}

TEST_F(FailingPhoneTest, APhoneThatNoLongerAnswersIsGivenUpUntilTheNextRequest) {
  for (char c = 'a'; c < 'j'; ++c) {
    const std::string path = std::string("/Music/B/") + c;
    phone.device.addTrack(path + ".mp3").tags = tags(std::string(1, c), "X");
    phone.device.addTrack(path + "/bytes.mp3");
    phone.device.addPlaylist(path + "/list", {"/Music/A/s.mp3"});
    phone.device.find(path + "/bytes.mp3")->content = contentOf(temporary.path("plain.mp3"));
  }
  indexPhone(phone.plugIn());
  const auto complete = contents();
  // In the order in which a request needs them. Playlists are read beside the songs.
  const std::vector<std::string> functions = {"listStorages", "listFolder", "listPlaylists",
                                              "readBytes",    "readTags",   "playlistMembers"};
  for (auto first = functions.begin(); *first != "playlistMembers"; ++first) {
    SCOPED_TRACE("hangs from " + *first);
    manager.deleteDb("phone1");
    scripted::clear();
    for (auto at = first; at != functions.end(); ++at) {
      phone.device.addFault({.at = *at,
                             .from = firstOf(*at),
                             .times = scripted::kForEver,
                             .status = STATUS_NOT_OK_GENERIC_PLUGIN_ERROR});
    }
    phone.plugIn();
    // Two requests in which the phone hangs do not make its songs unreadable.
    for (unsigned run = 1; run <= 2; ++run) {
      indexPhone(phone.handle);
      EXPECT_EQ(status(), "PROGRESS");
      unsigned requests = 0;
      for (auto at = first; at != functions.end(); ++at) requests += phone.count(*at);
      EXPECT_LE(requests, 2 + 4 * run);
    }
    phone.device.faults.clear();
    phone.update();
    indexPhone(phone.handle);
    EXPECT_EQ(contents(), complete);
    EXPECT_EQ(status(), "OK");
  }
}

}  // namespace
}  // namespace orvel::test
