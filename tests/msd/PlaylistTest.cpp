#include <gmock/gmock.h>

#include <filesystem>
#include <future>

#include "msd/MSDPlaylistMiner.h"
#include "msd/PlaylistParser.h"
#include "msd/PlaylistSaver.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MainLoopThread.h"

namespace orvel::test {
namespace {

using namespace std::literals;
using testing::ElementsAre;

TEST(PlaylistUri, AnEntryIsCutByCountAndUnescaped) {
  const std::vector<std::pair<const char*, const char*>> entries = {
      {"file:///media/usb/A%20B\\c.mp3", "media/usb/A B/c.mp3"},
      {"http://h/a.mp3", "/a.mp3"},
      {"file:///", ""},
      {"short", ""},
      {"", ""},
      {"file:///%E4", "\xE4"}};
  for (const auto& [uri, expected] : entries) {
    std::string path = "untouched";
    EXPECT_TRUE(trackPathOf(uri, path)) << uri;
    EXPECT_EQ(path, expected) << uri;
  }
  std::string path;
  for (const char* broken : {"file:///%zz", "file:///a%", "file:///%00"}) {
    EXPECT_FALSE(trackPathOf(broken, path)) << broken;
  }
  EXPECT_EQ(playlistUri("/m/100%/a#b ?.m3u"), "file:////m/100%25/a%23b ?.m3u");
}

class PlaylistStages : public DatabaseFolderFixture {
 protected:
  PlaylistStages() { manager.createDb("dev", "/m", true); }

  static auto filesOf(const std::vector<std::string>& paths) {
    auto block = boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", "/m", true));
    for (const std::string& path : paths) block->items.push_back(new FileInfo(path, 0, 7));
    return block;
  }
  static Playlist* playlist(const std::string& path, const std::vector<std::string>& tracks) {
    auto* made = new Playlist(path, "/m", 9);
    for (const std::string& track : tracks) {
      made->entries.push_back({track, Md5(Md5Kind::Track, track), track[0] == '#'});
    }
    return made;
  }
  std::vector<std::string> saved(const std::vector<Playlist*>& lists) {
    const auto block = boost::make_shared<Block<Playlist*>>(Operation(1, 0, "dev", "/m", true));
    block->items = lists;
    EXPECT_TRUE(saver.doOperation(block)->operation.last);
    return rowsOf("dev", "SELECT PLAYNAME, TRACKPATH FROM PLAYLISTS ORDER BY ID;");
  }

  PlaylistSaver saver{"PlaylistSaver"};
  MSDPlaylistMiner miner{"MSDPlaylistMiner"};
};

TEST_F(PlaylistStages, TheLastEntryOfEachListIsStoredTwice) {
  EXPECT_THAT(saved({playlist("/m/p", {"a", "b", "#c"}), playlist("q", {"d", "e", "f"})}),
              ElementsAre("p|a", "p|b", "p|#c", "p|#c", "q|d", "q|e", "q|f", "q|f"));
  EXPECT_THAT(
      rowsOf("dev", "SELECT DISTINCT AUDIOTYPE, LASTMODIFIED, PARTITION_ID FROM PLAYLISTS;"),
      ElementsAre("1|9|" + Md5(Md5Kind::Directory, "/m").text()));
  EXPECT_THAT(
      rowsOf("dev",
             "SELECT DISTINCT PLAYID, TRACKID FROM PLAYLISTS WHERE TRACKPATH IN"
             " ('#c', 'd');"),
      ElementsAre(Md5(Md5Kind::Playlist, "/m/p").text() + "|#c",
                  Md5(Md5Kind::Playlist, "q").text() + "|" + Md5(Md5Kind::Track, "d").text()));
}

TEST_F(PlaylistStages, AnEmptyListLeavesNoRowOfItsOwn) {
  const LogCapture log;
  EXPECT_THAT(saved({}), ElementsAre());
  EXPECT_THAT(saved({playlist("/m/empty", {})}), ElementsAre());
  EXPECT_THAT(saved({playlist("/m/none", {}), playlist("/m/p", {"a"}), playlist("/m/empty", {})}),
              ElementsAre("p|a", "p|a", "p|a"));
  EXPECT_THAT(rowsOf("dev", "SELECT PLAYNAME, TRACKPATH FROM VIEW_PLAYLISTENTRIES;"),
              ElementsAre("p|a"));
  EXPECT_THAT(log.texts("failed"), ElementsAre());
}

TEST_F(PlaylistStages, WhatWouldHarmTheMainLoopDoesNotReachIt) {
  const LogCapture log;
  const std::string large = temporary.file("large.m3u", "a.mp3\n");
  std::filesystem::resize_file(large, std::uintmax_t{4} << 30);
  const auto lists = miner.doOperation(
      filesOf({large, temporary.file("endless.pls", "[playlist]\nFilex=a.mp3\n"),
               temporary.file("twice.m3u", "[PlayList]\nFile1=a.mp3\nfile1=b.mp3\n"),
               temporary.file("odd.asx", "\xFF\xFE<\0a\0>"s),
               temporary.file("odd.wpl", "\0\0\xFE\xFF\0\0"s)}));
  ASSERT_EQ(lists->items.size(), 5U);
  for (const Playlist* list : lists->items) EXPECT_TRUE(list->entries.empty()) << list->path;
  EXPECT_EQ(log.texts("playlist not parsed, since it is larger than 2 MiB").size(), 1U);
  EXPECT_EQ(log.texts("playlist not parsed, since its entries are misnumbered").size(), 2U);
  EXPECT_EQ(log.texts("playlist not parsed, since it ends within a character").size(), 2U);
}

}  // namespace
}  // namespace orvel::test
