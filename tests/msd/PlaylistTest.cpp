#include <gtest/gtest.h>

#include <filesystem>

#include "msd/MSDPlaylistMiner.h"
#include "msd/PlaylistParser.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TemporaryFolder.h"

namespace orvel::test {
namespace {

using namespace std::literals;

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

TEST(PlaylistMiner, KeepsWhatWouldHarmTheMainLoopFromIt) {
  const TemporaryFolder temporary;
  MSDPlaylistMiner miner("MSDPlaylistMiner");
  const LogCapture log;
  const std::string large = temporary.file("large.m3u", "a.mp3\n");
  std::filesystem::resize_file(large, std::uintmax_t{4} << 30);
  const auto block = boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", "/m", true));
  for (const std::string& path :
       {large, temporary.file("endless.pls", "[playlist]\nFilex=a.mp3\n"),
        temporary.file("twice.m3u", "[PlayList]\nFile1=a.mp3\nfile1=b.mp3\n"),
        temporary.file("odd.asx", "\xFF\xFE<\0a\0>"s),
        temporary.file("odd.wpl", "\0\0\xFE\xFF\0\0"s)}) {
    block->items.push_back(new FileInfo(path, 0, 7));
  }
  const auto lists = miner.doOperation(block);
  ASSERT_EQ(lists->items.size(), 5U);
  for (const Playlist* list : lists->items) EXPECT_TRUE(list->entries.empty()) << list->path;
  EXPECT_EQ(log.texts("playlist not parsed, since it is larger than 2 MiB").size(), 1U);
  EXPECT_EQ(log.texts("playlist not parsed, since its entries are misnumbered").size(), 2U);
  EXPECT_EQ(log.texts("playlist not parsed, since it ends within a character").size(), 2U);
}

}  // namespace
}  // namespace orvel::test
