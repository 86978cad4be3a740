#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <thread>

#include "msd/MSDPlaylistMiner.h"
#include "playlists/MainLoopPlaylistReader.h"
#include "playlists/isolation/IsolatedPlaylistReader.h"
#include "tests/support/Effort.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MainLoopThread.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/processStatus.h"

namespace orvel::test {
namespace {

using namespace std::literals;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

/// Long enough for a good list on a busy machine.
constexpr milliseconds kShort = withSlack(300ms);
constexpr std::array kKinds = {"m3u", "m3u8", "pls", "asx", "wpl"};

std::string listOf(std::string_view kind, const std::vector<std::string>& entries,
                   const std::string& lineEnd = "\n") {
  std::string text = kind == "pls"   ? "[playlist]" + lineEnd
                     : kind == "asx" ? "<asx version=\"3.0\">"
                     : kind == "wpl" ? "<?wpl version=\"1.0\"?><smil><body><seq>"
                                     : "#EXTM3U" + lineEnd;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    text += kind == "pls"   ? "File" + std::to_string(i + 1) + "=" + entries[i]
            : kind == "asx" ? "<entry><ref href=\"" + entries[i] + "\"/></entry>"
            : kind == "wpl" ? "<media src=\"" + entries[i] + "\"/>"
                            : "#EXTINF:200,x" + lineEnd + entries[i];
    text += lineEnd;
  }
  return text + (kind == "asx" ? "</asx>" : kind == "wpl" ? "</seq></body></smil>" : "");
}

class IsolatedPlaylists : public testing::Test {
 protected:
  using Lists = MSDPlaylistMiner::sink_block_type_ptr;

  static std::unique_ptr<MSDPlaylistMiner> minerOf(milliseconds timeLimit,
                                                   const std::string& program) {
    return std::make_unique<MSDPlaylistMiner>(
        "MSDPlaylistMiner", std::make_shared<MountPointWatch>(), [=](std::stop_token token) {
          return std::make_unique<IsolatedPlaylistReader>(std::move(token), program, timeLimit);
        });
  }
  static std::unique_ptr<MSDPlaylistMiner> inProcessMiner() {
    return std::make_unique<MSDPlaylistMiner>(
        "MSDPlaylistMiner", std::make_shared<MountPointWatch>(),
        [](std::stop_token token) { return std::make_unique<MainLoopPlaylistReader>(token); });
  }

  Lists mine(MSDPlaylistMiner& miner, const std::vector<std::string>& paths,
             bool last = true) const {
    const auto block =
        boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", temporary.path(), last));
    for (const std::string& path : paths) block->items.push_back(new FileInfo(path, 0, 7));
    return miner.doOperation(block);
  }

  std::string good(const std::string& name) const {
    return temporary.file(name + ".m3u", name + "1.mp3\n../" + name + "2.mp3\n");
  }
  std::string bad(const std::string& deed) const {
    return temporary.file(deed + ".m3u", "first.mp3\n!" + deed + "\nlast.mp3\n");
  }

  static std::string textOf(const Playlist& list) {
    std::string text = list.path + (list.refused ? " refused" : "");
    for (const PlaylistEntry& entry : list.entries) {
      text += "\n" + entry.trackPath + " " + entry.trackId.text();
    }
    return text;
  }
  static std::vector<std::string> textsOf(const Lists& lists) {
    std::vector<std::string> texts;
    for (const Playlist* list : lists->items) texts.push_back(textOf(*list));
    return texts;
  }

  const TemporaryFolder temporary;
  LogCapture log;
};

TEST_F(IsolatedPlaylists, AreThoseOfTheHostsProcess) {
  const std::vector<std::string> entries = {
      "a.mp3",           "../Music/b c.mp3", "..\\Music\\b.mp3", "100%.mp3",
      "x%20y#z?.mp3",    "./d.mp3",          "\xC3\xBC.mp3",     "http://h/stream.mp3",
      "file:///m/e.mp3", "/abs/f.mp3",       "C:\\g.mp3",        "",
      "  h.mp3 ",        "\\i\\j.mp3"};
  std::vector<std::string> paths = {temporary.path("missing.m3u"), temporary.path("missing.wpl")};
  for (const std::string kind : kKinds) {
    const auto add = [&](const std::string& name, const std::string& content) {
      paths.push_back(temporary.file(name + "." + kind, content));
    };
    add("plain", listOf(kind, entries));
    add("windows", listOf(kind, entries, "\r\n"));
    for (const char* name : {"100%/a%20b", "50%", "a#b", "a?b=c", "\xE4", "\xC3\xA4 b", "a\\b"}) {
      add(name, listOf(kind, {"a.mp3", "../b.mp3"}));
    }
    add("latin", listOf(kind, {"a.mp3", "\xE4.mp3"}));
    add("mark", "\xEF\xBB\xBF" + listOf(kind, {"a.mp3"}));
    add("wide", "\xFF\xFE" + "a\0.\0m\0p\0003\0\n\0"s);
    for (const char* encoding : {"iso-8859-1", "Windows-1251", "shift_jis", "big5", "utf-8"}) {
      add(encoding, "<?xml version=\"1.0\" encoding=\""s + encoding + "\"?>" +
                        listOf(kind, {"\xB1\xA4.mp3"}));
    }
    add("empty", "");
    add("zeros", std::string(100, '\0'));
    add("text", "no list");
    add("cut", listOf(kind, {"a.mp3"}).substr(0, 40));
    add("long", listOf(kind, std::vector<std::string>(15920, "../Music/Artist/Album/song.mp3")));
  }
  const auto isolated = minerOf(5s, ORVEL_PLAYLIST_READER);
  const auto lists = textsOf(mine(*isolated, paths));
  const auto verdicts = log.texts("TOTEM_PL_PARSER_RESULT");
  log.clear();
  const MainLoopThread loop;
  const auto inProcess = inProcessMiner();
  const auto expected = textsOf(mine(*inProcess, paths));
  ASSERT_THAT(lists, SizeIs(expected.size()));
  for (std::size_t i = 0; i < lists.size(); ++i) EXPECT_EQ(lists[i], expected[i]);
  EXPECT_EQ(verdicts, log.texts("TOTEM_PL_PARSER_RESULT"));
  EXPECT_EQ(isolated->progress->snapshot().playlists.refused,
            inProcess->progress->snapshot().playlists.refused);
  EXPECT_FALSE(isolated->progress->snapshot().isolationFailed);
}

}  // namespace
}  // namespace orvel::test
