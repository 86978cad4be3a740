#include <gtest/gtest.h>

#include <filesystem>

#include "msd/MSDPlaylistMiner.h"
#include "playlists/parsePlaylist.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/Effort.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MainLoopThread.h"
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
  EXPECT_EQ(playlistUri("/m/100%/a#b ?.m3u"), "file:////m/100%25/a%23b %3F.m3u");
}

/// The miner with a main loop on another thread.
class PlaylistMiner : public testing::Test {
 protected:
  auto mine(const std::vector<std::string>& paths) {
    const auto block =
        boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", temporary.path(), true));
    for (const std::string& path : paths) block->items.push_back(new FileInfo(path, 0, 7));
    return miner.doOperation(block);
  }
  std::string lines(const char* name, int count, const std::string& line) {
    std::string text;
    for (int i = 0; i < count; ++i) text += line;
    return temporary.file(name, text);
  }

  const TemporaryFolder temporary;
  MainLoopThread loop;
  MSDPlaylistMiner miner{"MSDPlaylistMiner"};
  LogCapture log;
};

TEST_F(PlaylistMiner, KeepsOnlyWhatTheParserWouldNotSurviveFromIt) {
  const std::string large = temporary.file("large.m3u", "a.mp3\n");
  std::filesystem::resize_file(large, std::uintmax_t{4} << 30);
  const std::string attributes = lines("attributes.wpl", 1000000, "a=\"\" ");
  const auto lists = mine(
      {large, temporary.file("endless.pls", "[playlist]\nFilex=a.mp3\n"),
       temporary.file("twice.m3u", "\n[PlayList]\nFile1=a\n file1=b\n"),
       temporary.file("odd.asx", "\xFF\xFE<\0a\0>"s),
       temporary.file("odd.wpl", "\0\0\xFE\xFF\0\0"s), lines("lines.m3u", 1000001, "\n"),
       attributes, temporary.file("slow.pls", "[playlist]\nFile1=" + std::string(50000, '\xFF')),
       temporary.file("comment.asx", "<asx><!-- cut"), temporary.file("type.wpl", "<!DOCTYPE a"),
       temporary.file("section.asx", "<asx><!-- <![CDATA[x]]> --></asx>"),
       temporary.file("wide.asx", "\xFF\xFE<\0!\0-\0-\0"s)});
  ASSERT_EQ(lists->items.size(), 12U);
  for (const Playlist* list : lists->items) {
    EXPECT_TRUE(list->entries.empty() && list->refused) << list->path;
  }
  EXPECT_EQ(log.texts("playlist not parsed, since").size(), 12U);
  EXPECT_EQ(miner.progress->snapshot().playlists.refused, 12U);
  EXPECT_FALSE(lists->operation.skipped);
}

TEST_F(PlaylistMiner, ReadsWhatOnlyLooksHarmful) {
  const auto lists =
      mine({temporary.file("empty.pls", "[playlist]\nFile1=a.mp3\nFile2=\nTitle3=x\nFile3=c\n"),
            temporary.file("mention.m3u", "a.mp3\n[playlist]\nFilex=b\nb.mp3\n"),
            temporary.file("none.wpl", "no list"),
            temporary.file("marked.asx",
                           "<!DOCTYPE a PUBLIC \"b>c\"><asx><!-- \"it's\" <x> -->"
                           "<entry><ref href=\"a.mp3\"/></entry></asx>"),
            lines("all.m3u8", 16000, "#EXTINF:200," + std::string(150, 'x') + "\nMusic/a.mp3\n")});
  ASSERT_EQ(lists->items.size(), 5U);
  EXPECT_EQ(lists->items[0]->entries.size(), 3U);
  EXPECT_EQ(lists->items[1]->entries.size(), 4U);
  EXPECT_TRUE(lists->items[2]->refused) << "a refused list does not count as read";
  EXPECT_EQ(lists->items[3]->entries.size(), 1U);
  EXPECT_EQ(lists->items[4]->entries.size(), 16000U);
  EXPECT_EQ(miner.progress->snapshot().playlists.refused, 1U);
}

/// Long lists leave in several blocks, and each keeps its first entries.
TEST_F(PlaylistMiner, BoundsTheEntriesOfAListAndOfARequest) {
  if (kIsSanitized) GTEST_SKIP() << "the stacks of 600000 entries take the sanitizers minutes";
  CatchingSink<Block<Playlist*>> sink;
  miner.sink = &sink;
  std::vector<std::string> paths;
  for (int i = 0; i < 6; ++i) {
    paths.push_back(lines(("long" + std::to_string(i) + ".m3u").c_str(), 100001, "a\n"));
  }
  const auto rest = mine(paths);
  const auto sent = sink.take();
  EXPECT_EQ(sent.size(), 5U);
  for (const auto& block : sent) {
    ASSERT_EQ(block->items.size(), 1U);
    EXPECT_EQ(block->items[0]->entries.size(), 100000U);
    EXPECT_FALSE(block->operation.last);
  }
  EXPECT_TRUE(rest->items.empty() && rest->operation.last && !rest->operation.skipped);
  EXPECT_EQ(miner.progress->snapshot().playlists.cut, 6U);
}

}  // namespace
}  // namespace orvel::test
