#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "db/SongDetails.h"
#include "db/SqlTexts.h"
#include "msd/ChangeFinder.h"
#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"

namespace orvel::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::UnorderedElementsAre;

/// The contents of the tables after each of several runs over one stick.
class RunByRunTest : public IndexerHost {
 protected:
  RunByRunTest() {
    writeSong(song, {"T", "X"});
    temporary.file("stick/Lists/p.m3u", "../Music/A/s.mp3\n");
    index("dev1", stick);
  }

  std::string status() { return manager.getStatus("dev1", stick); }
  std::vector<std::string> query(const std::string& sql) { return rowsOf("dev1", sql); }

  const std::string song = stick + "/Music/A/s.mp3";
};

TEST_F(RunByRunTest, FirstRunStoresAndJoinsEverything) {
  EXPECT_EQ(status(), "OK");
  EXPECT_THAT(query("SELECT PATH FROM DIRECTORIES"),
              UnorderedElementsAre(stick, stick + "/Music", stick + "/Music/A"));
  EXPECT_THAT(query("SELECT PARENT_ID, OBJECTID = PARTITION_ID FROM DIRECTORIES WHERE PATH = '" +
                    stick + "'"),
              ElementsAre("dev1|1"));
  EXPECT_THAT(query("SELECT S.PATH, S.NAME, TITLE, ARTIST, ALBUM, GENRE, COMPOSER, D.PATH"
                    " FROM SONGS S JOIN ARTISTS USING (ARTISTID) JOIN ALBUMS USING (ALBUMID)"
                    " JOIN GENRES USING (GENREID) JOIN COMPOSERS USING (COMPOSERID)"
                    " JOIN DIRECTORIES D ON D.OBJECTID = S.DIRECTORYID"
                    " AND D.PARTITION_ID = S.PARTITION_ID"),
              ElementsAre(song + "|s.mp3|T|X|Album|Genre||" + stick + "/Music/A"));
  EXPECT_THAT(query("SELECT PLAYNAME, TRACKPATH FROM PLAYLISTS JOIN SONGS ON TRACKID = OBJECTID"),
              ElementsAre("p.m3u|" + song, "p.m3u|" + song));
  EXPECT_THAT(query("SELECT TRACKPATH FROM VIEW_PLAYLISTENTRIES"), ElementsAre(song));
  EXPECT_THAT(takeSignals(), testing::AllOf(Contains("contentModified " + stick),
                                            Contains("crawlingFinished " + stick).Times(1),
                                            Contains("indexingFinished " + stick).Times(1),
                                            Not(Contains("databaseExists dev1 " + stick))));
}

TEST_F(RunByRunTest, UnchangedStickChangesNothing) {
  const auto before = everything("dev1");
  takeSignals();
  index("dev1", stick);
  EXPECT_EQ(everything("dev1"), before);
  EXPECT_EQ(status(), "OK");
  EXPECT_THAT(takeSignals(), ElementsAre("databaseExists dev1 " + stick,
                                         "crawlingFinished " + stick, "indexingFinished " + stick));
  EXPECT_EQ(progress().songs.unchanged, 1U);
  EXPECT_EQ(progress().songs.added, 0U);
}

TEST_F(RunByRunTest, RetaggedSongIsReplacedAndItsPlaylistKept) {
  const auto id = query("SELECT OBJECTID FROM SONGS");
  takeSignals();
  writeSong(song, {"T2", "Y"});
  temporary.touch("stick/Music/A/s.mp3", 1000000000);
  index("dev1", stick);
  EXPECT_EQ(query("SELECT OBJECTID FROM SONGS"), id);
  EXPECT_THAT(query("SELECT TITLE, LASTMODIFIED FROM SONGS"), ElementsAre("T2|1000000000"));
  EXPECT_THAT(query("SELECT ARTIST FROM ARTISTS"), ElementsAre("Y"));
  EXPECT_THAT(query("SELECT COUNT(*) FROM PLAYLISTS"), ElementsAre("2"));
  EXPECT_EQ(status(), "OK");
  EXPECT_THAT(takeSignals(), Contains("contentModified " + stick));
  EXPECT_EQ(progress().songs.removed, 0U);
}

TEST_F(RunByRunTest, APictureThatComesOrGoesBesideASongIsNoticed) {
  const auto expectCover = [&](CoverPlace place) {
    index("dev1", stick);
    EXPECT_THAT(query("SELECT COVER FROM SONGDETAILS JOIN SONGS USING (ID)"),
                ElementsAre(std::to_string(static_cast<int>(place))));
    EXPECT_EQ(status(), "OK");
    index("dev1", stick);
    EXPECT_EQ(progress().songs.unchanged, 1U);
  };
  const std::string picture = temporary.file("stick/Music/A/cover.jpg", "");
  expectCover(CoverPlace::InFolder);
  std::filesystem::remove(picture);
  expectCover(CoverPlace::None);
}

TEST_F(RunByRunTest, RemovedSongTakesItsNamesFoldersAndPlaylistEntriesAlong) {
  writeSong(stick + "/b.flac", {"B", "Z"});
  std::filesystem::remove_all(stick + "/Music");
  index("dev1", stick);
  EXPECT_THAT(query("SELECT PATH FROM SONGS"), ElementsAre(stick + "/b.flac"));
  EXPECT_THAT(query("SELECT ARTIST FROM ARTISTS"), ElementsAre("Z"));
  EXPECT_THAT(query("SELECT PATH FROM DIRECTORIES"), ElementsAre(stick));
  EXPECT_TRUE(query("SELECT * FROM PLAYLISTS").empty());
  EXPECT_EQ(progress().songs.removed, 1U);
}

TEST_F(RunByRunTest, WhatARequestDidNotCleanUpBeforeItWasKilledTheNextOneDoes) {
  std::filesystem::remove(song);
  {
    ChangeFinder killed("Killed", ChangeFinder::Content::Songs, sql::kSelectSongs, sql::kDeleteSong,
                        false);
    killed.doOperation(boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev1", stick, true)));
  }
  EXPECT_TRUE(query("SELECT * FROM SONGS").empty());
  index("dev1", stick);
  EXPECT_EQ(progress().songs.removed + progress().songs.added, 0U);
  for (const char* table : {"ARTISTS", "ALBUMS", "GENRES", "COMPOSERS", "PLAYLISTS"}) {
    EXPECT_TRUE(query(std::string("SELECT * FROM ") + table).empty()) << table;
  }
  EXPECT_EQ(status(), "OK");
}

TEST_F(RunByRunTest, PartitionsShareADatabaseAndADanglingOneIsRemoved) {
  const std::string second = temporary.folder("second");
  writeSong(second + "/c.m4a", {"C", "W"});
  temporary.file("stick/Lists/p.m3u", "../Music/A/s.mp3\n../../second/c.m4a\n");
  temporary.touch("stick/Lists/p.m3u", 1000000000);
  index("dev1", second, false);
  index("dev1", stick, false);
  EXPECT_THAT(query("SELECT TITLE FROM SONGS ORDER BY TITLE"), ElementsAre("C", "T"));
  EXPECT_THAT(query("SELECT TRACKPATH FROM VIEW_PLAYLISTENTRIES"),
              ElementsAre(song, second + "/c.m4a"));
  // The next attach of the device comes without its second partition, whose folder is empty now.
  std::filesystem::remove(second + "/c.m4a");
  index("dev1", stick);
  EXPECT_THAT(query("SELECT TITLE FROM SONGS"), ElementsAre("T"));
  EXPECT_THAT(query("SELECT ARTIST FROM ARTISTS"), ElementsAre("X"));
  EXPECT_THAT(query("SELECT TRACKPATH FROM VIEW_PLAYLISTENTRIES"), ElementsAre(song));
  EXPECT_EQ(manager.getStatus("dev1", second), "");
}

TEST_F(RunByRunTest, EveryPlaylistKindIsReadByTheRealParser) {
  const std::string other = stick + "/Music/Ä b#c%41.mp3";
  writeSong(other, {"U", "V"});
  const std::string lists = "stick/Li%20sts#1/";
  temporary.file(lists + "a.m3u8", "#EXTM3U\n../Music/A/s.mp3\n../Music/Ä b#c%41.mp3\n");
  temporary.file(lists + "b.pls", "[playlist]\nFile1=../Music/A/S.MP3\nNumberOfEntries=1\n");
  temporary.file(lists + "c.asx",
                 "<asx version=\"3.0\"><entry><ref href=\"../Music/A/s.mp3\"/></entry></asx>");
  temporary.file(lists + "d.wpl",
                 "<?wpl version=\"1.0\"?><smil><head><title>d</title></head><body><seq>"
                 "<media src=\"..\\Music\\A\\s.mp3\"/></seq></body></smil>");
  temporary.file(lists + "broken.m3u", "C:\\gone.mp3\n/also/gone.mp3\nhttp://radio/s.mp3\n");
  index("dev1", stick);
  EXPECT_THAT(query("SELECT PLAYNAME, NAME FROM VIEW_PLAYLISTENTRIES E JOIN SONGS ON TRACKID ="
                    " OBJECTID ORDER BY PLAYNAME, E.ID"),
              ElementsAre("a.m3u8|s.mp3", "a.m3u8|Ä b#c%41.mp3", "b.pls|s.mp3", "c.asx|s.mp3",
                          "d.wpl|s.mp3", "p.m3u|s.mp3"));
}

}  // namespace
}  // namespace orvel::test
