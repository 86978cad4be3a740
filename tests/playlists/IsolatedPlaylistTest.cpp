#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <thread>

#include "msd/MSDPlaylistMiner.h"
#include "playlists/MainLoopPlaylistReader.h"
#include "playlists/isolation/IsolatedPlaylistReader.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/Deed.h"
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
/// Sanitizers record the stack of each allocation, an emulator is slow as such.
constexpr bool kIsSlow = kIsSanitized || kIsEmulated;
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
        "MSDPlaylistMiner", std::make_shared<MountPointWatch>(), std::make_shared<ReadFailures>(),
        [=](std::stop_token token) {
          return std::make_unique<IsolatedPlaylistReader>(std::move(token), program,
                                                          TagReading::Isolated, timeLimit);
        });
  }
  static std::unique_ptr<MSDPlaylistMiner> inProcessMiner() {
    return std::make_unique<MSDPlaylistMiner>(
        "MSDPlaylistMiner", std::make_shared<MountPointWatch>(), std::make_shared<ReadFailures>(),
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
  /// Of all lists, also of those that leave ahead of the last block.
  std::vector<std::string> mineTexts(MSDPlaylistMiner& miner,
                                     const std::vector<std::string>& paths) const {
    CatchingSink<Block<Playlist*>> sink;
    miner.sink = &sink;
    const Lists rest = mine(miner, paths);
    auto blocks = sink.take();
    blocks.push_back(rest);
    std::vector<std::string> texts;
    for (const Lists& lists : blocks) {
      for (const Playlist* list : lists->items) texts.push_back(textOf(*list));
    }
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
    const std::size_t songs = kIsSlow ? 500 : 15920;
    add("long", listOf(kind, std::vector<std::string>(songs, "../Music/Artist/Album/song.mp3")));
  }
  if (!kIsSlow) {
    const std::vector<std::string> many(100001, "a");
    for (const char* kind : {"m3u", "wpl"}) {
      paths.push_back(temporary.file("many."s + kind, listOf(kind, many)));
    }
  }
  const auto isolated = minerOf(withSlack(5s), ORVEL_PLAYLIST_READER);
  const auto lists = mineTexts(*isolated, paths);
  const auto verdicts = log.texts("TOTEM_PL_PARSER_RESULT");
  log.clear();
  const MainLoopThread loop;
  const auto inProcess = inProcessMiner();
  const auto expected = mineTexts(*inProcess, paths);
  ASSERT_THAT(lists, SizeIs(paths.size()));
  ASSERT_THAT(expected, SizeIs(paths.size()));
  for (std::size_t i = 0; i < lists.size(); ++i) EXPECT_EQ(lists[i], expected[i]);
  EXPECT_EQ(verdicts, log.texts("TOTEM_PL_PARSER_RESULT"));
  const ProgressSnapshot snapshot = isolated->progress->snapshot();
  EXPECT_EQ(snapshot.playlists.refused, inProcess->progress->snapshot().playlists.refused);
  EXPECT_EQ(snapshot.playlists.cut, kIsSlow ? 0U : 2U);
  EXPECT_FALSE(snapshot.isolationFailed);
}

constexpr std::string_view kNoResult = "sent what is no result";

class HostileList : public IsolatedPlaylists, public testing::WithParamInterface<Deed> {};

TEST_P(HostileList, CostsItselfAndNoOther) {
  const Deed& deed = GetParam();
  if (deed.isSafe) GTEST_SKIP() << "the sanitizers need what this tests, or take too long";
  if (kIsEmulated && (deed.end == kFiltered || deed.end == kOutOfMemory || deed.name == "reach"))
    GTEST_SKIP() << "the emulator passes on neither filters nor limits of memory";
  const std::string name(deed.name);
  const std::vector<std::string> paths = {good("a"), bad(name), good("b"), bad(name), good("c")};
  const auto miner =
      minerOf(deed.end == kTooLate ? kShort : withSlack(2s), ORVEL_HOSTILE_PLAYLIST_READER);
  const PeakMemory peak;
  const Lists lists = mine(*miner, paths);
  EXPECT_LT(peak.mebibytes(), 64);
  EXPECT_FALSE(lists->operation.skipped);
  EXPECT_EQ(miner->progress->snapshot().playlists.refused, 2U);
  ASSERT_THAT(lists->items, SizeIs(5));
  for (const Playlist* list : lists->items) {
    const bool isBad = list->path == paths[1];
    EXPECT_EQ(list->refused, isBad) << list->path;
    EXPECT_THAT(list->entries, SizeIs(isBad ? 0 : 2)) << list->path;
  }
  EXPECT_THAT(log.texts(" for playlist: " + paths[1]),
              ElementsAre(HasSubstr(std::string(deed.end)), HasSubstr(std::string(deed.end))));
}

INSTANTIATE_TEST_SUITE_P(
    Isolated, HostileList,
    testing::Values(Deed{"crash", kIsSanitized ? "ended" : "signal 11", false},
                    Deed{"hang", kTooLate, false}, Deed{"bloat", kOutOfMemory},
                    Deed{"exit", "exit status 0", false}, Deed{"nonsense", kNoResult, false},
                    Deed{"huge", kNoResult, false}, Deed{"half", kTooLate, false},
                    Deed{"trickle", kTooLate, false}, Deed{"chatter", kTooLate, false},
                    Deed{"deaf", "signal 9", false}, Deed{"void", kNoResult, false},
                    Deed{"many", kNoResult}, Deed{"long", kNoResult},
                    Deed{"other", kNoResult, false}, Deed{"reach", "exit status 10"},
                    Deed{"socket", kFiltered, false}, Deed{"fork", kFiltered, false},
                    Deed{"execute", kFiltered, false}, Deed{"kill", kFiltered, false},
                    Deed{"unlink", kFiltered, false}, Deed{"create", kFiltered, false},
                    Deed{"code", kFiltered, false}),
    [](const auto& info) { return std::string(info.param.name); });

/// A result too many belongs to no other list.
TEST_F(IsolatedPlaylists, AnAnswerIsTakenForItsOwnListOnly) {
  const auto miner = minerOf(kShort, ORVEL_HOSTILE_PLAYLIST_READER);
  const Lists lists = mine(*miner, {good("a"), bad("twice"), good("b"), good("c")});
  ASSERT_THAT(lists->items, SizeIs(4));
  for (const int i : {0, 2, 3}) EXPECT_THAT(lists->items[i]->entries, SizeIs(2));
}

TEST_F(IsolatedPlaylists, AStopEndsAReaderThatHangs) {
  const auto miner = minerOf(std::chrono::hours(1), ORVEL_HOSTILE_PLAYLIST_READER);
  Lists lists;
  const auto paths = {good("a"), bad("hang"), good("b")};
  std::jthread mining([&] { lists = mine(*miner, paths); });
  ASSERT_TRUE(log.waitFor("RESULT_SUCCESS"));
  std::this_thread::sleep_for(withSlack(20ms));
  EXPECT_LT(Longest().measure([&] {
    miner->stop();
    mining.join();
  }),
            withSlack(100ms).count());
  EXPECT_THAT(lists->items, SizeIs(1));
  EXPECT_TRUE(lists->operation.skipped);
  EXPECT_THAT(log.texts("hang.m3u"), SizeIs(0)) << "an interrupted list is not to blame";
}

/// GIO looks every five seconds for its table of file types, which a confined process cannot see.
TEST_F(IsolatedPlaylists, AReaderThatLivesLongReadsOn) {
  const auto miner = minerOf(kShort, ORVEL_PLAYLIST_READER);
  EXPECT_THAT(mine(*miner, {good("a")}, false)->items[0]->entries, SizeIs(2));
  std::this_thread::sleep_for(6s);
  EXPECT_THAT(mine(*miner, {good("b")})->items[0]->entries, SizeIs(2));
}

/// Inputs that the parser does not survive, or only after hours.
TEST_F(IsolatedPlaylists, FaultsOfTheParserCostOnlyTheirLists) {
  std::string attributes = "<smil a=\"\" ";
  for (int i = 0; i < 1000000; ++i) attributes += "a=\"\" ";
  std::string nested = "<asx>";
  for (int i = 0; i < 200000; ++i) nested += "<a>";
  const std::vector<std::string> paths = {
      good("a"), temporary.file("endless.pls", "[playlist]\nFilex=a.mp3\n"),
      good("b"), temporary.file("slow.pls", "[playlist]\nFile1=" + std::string(50000, '\xFF')),
      good("c"), temporary.file("attributes.wpl", attributes + "/>"),
      good("d"), temporary.file("nested.asx", nested),
      good("e"), temporary.file("odd.asx", "\xFF\xFE<\0a\0>"s),
      good("f"), temporary.file("lines.m3u", std::string(20 << 20, '\n')),
      good("g")};
  const std::string large = temporary.file("large.m3u");
  std::filesystem::resize_file(large, std::uintmax_t{4} << 30);
  const auto miner = minerOf(kShort, ORVEL_PLAYLIST_READER);
  const Lists lists = mine(*miner, paths);
  ASSERT_THAT(lists->items, SizeIs(paths.size()));
  for (std::size_t i = 0; i < paths.size(); i += 2) {
    EXPECT_THAT(lists->items[i]->entries, SizeIs(2)) << paths[i];
  }
  for (const int i : {1, 3}) EXPECT_TRUE(lists->items[i]->refused) << paths[i];
  EXPECT_FALSE(lists->operation.skipped);
  EXPECT_TRUE(mine(*miner, {large})->items[0]->refused);
  EXPECT_THAT(log.texts("larger than 32 MiB"), SizeIs(1));
}

TEST_F(IsolatedPlaylists, TheRestIsLeftUndoneAfterTooManyFaults) {
  const auto miner = minerOf(kShort, ORVEL_HOSTILE_PLAYLIST_READER);
  std::vector<std::string> paths(64, bad("crash"));
  paths.insert(paths.begin(), good("a"));
  paths.push_back(good("b"));
  const Lists lists = mine(*miner, paths);
  EXPECT_THAT(lists->items, SizeIs(65));
  EXPECT_TRUE(lists->operation.skipped);
  EXPECT_THAT(log.texts("too many playlists"), SizeIs(1));
}

TEST_F(IsolatedPlaylists, WithoutReaderListsAreParsedInTheHostsProcessButNeverAfterAFault) {
  const std::string program = temporary.path("reader");
  {
    const MainLoopThread loop;
    const auto miner = minerOf(kShort, program);
    const Lists lists = mine(*miner, {good("a"), temporary.file("x.pls", "[playlist]\nFilex=a")});
    EXPECT_THAT(lists->items[0]->entries, SizeIs(2));
    EXPECT_TRUE(lists->items[1]->refused) << "the guard is on";
    EXPECT_TRUE(miner->progress->snapshot().isolationFailed);
    EXPECT_THAT(log.texts("playlists are parsed without isolation"), SizeIs(1));
  }
  std::filesystem::copy_file(ORVEL_HOSTILE_PLAYLIST_READER, program);
  const auto miner = minerOf(kShort, program);
  EXPECT_THAT(mine(*miner, {good("a")}, false)->items, SizeIs(1));
  std::filesystem::remove(program);
  const Lists lists = mine(*miner, {good("a"), bad("crash"), good("b")});
  EXPECT_THAT(lists->items, SizeIs(1));
  EXPECT_TRUE(lists->operation.skipped);
  EXPECT_THAT(log.texts("cannot be started again"), SizeIs(1));
}

}  // namespace
}  // namespace orvel::test
