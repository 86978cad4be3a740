#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <thread>

#include "base/Log.h"
#include "msd/MSDMiner.h"
#include "tags/TagReaderPool.h"
#include "tags/TagReading.h"
#include "tags/isolation/IsolatedTagReader.h"
#include "tests/endtoend/Song.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/Deed.h"
#include "tests/support/Effort.h"
#include "tests/support/LogCapture.h"
#include "tests/support/processStatus.h"

namespace orvel::test {
namespace {

using std::chrono::milliseconds;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

/// Long enough for a good file on a busy machine.
constexpr milliseconds kShort = withSlack(milliseconds(300));
/// Longer than a test may take.
constexpr milliseconds kEndless{std::chrono::hours(1)};

/// A miner whose worker has a parser that obeys commands in the files.
class IsolatedMiner : public DatabaseFolderFixture {
 protected:
  using Songs = MSDMiner::sink_block_type_ptr;

  static std::unique_ptr<MSDMiner> minerOf(milliseconds timeLimit,
                                           const std::string& program = ORVEL_HOSTILE_TAG_READER,
                                           TagReading policy = TagReading::Isolated) {
    return std::make_unique<MSDMiner>(
        "MSDMiner", std::make_shared<MountPointWatch>(), [=](std::stop_token token) {
          return std::make_unique<IsolatedTagReader>(
              std::move(token), program, policy, std::make_shared<TagReaderPatience>(timeLimit));
        });
  }

  Songs mine(MSDMiner& miner, const std::vector<std::string>& names, bool last = true) const {
    const auto block =
        boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", temporary.path(), last));
    for (const auto& name : names) {
      block->items.push_back(new FileInfo(temporary.path(name), 0, 5));
    }
    return miner.doOperation(block);
  }

  std::string good(const std::string& name) const {
    writeSong(temporary.path(name), {"Title of " + name, "X"});
    return name;
  }

  std::string bad(const std::string& deed, const std::string& number = "") const {
    temporary.file(deed + number + ".mp3", "!" + deed + ".");
    return deed + number + ".mp3";
  }

  static std::vector<std::string> titles(const Songs& songs) {
    std::vector<std::string> all;
    for (const MetaDataInfo* song : songs->items) all.push_back(song->title);
    return all;
  }

  /// Names of `count` good songs; after each `every` of them one that does `deed`.
  std::vector<std::string> mixed(int count, int every, const std::string& deed) const {
    std::vector<std::string> names;
    for (int i = 1; i <= count; ++i) {
      names.push_back(good(std::to_string(i) + ".mp3"));
      if (i % every == 0) names.push_back(bad(deed, std::to_string(i)));
    }
    return names;
  }

  LogCapture log;
};

class HostileFile : public IsolatedMiner, public testing::WithParamInterface<Deed> {};

TEST_P(HostileFile, CostsItselfAndNoOther) {
  const Deed& deed = GetParam();
  if (deed.isSafe) GTEST_SKIP() << "the sanitizers need what this tests";
  if (kIsEmulated && (deed.end == kFiltered || deed.end == kOutOfMemory))
    GTEST_SKIP() << "the emulator passes on neither filters nor limits of memory";
  const milliseconds limit = deed.end == kTooLate ? kShort : withSlack(milliseconds(2000));
  const auto miner = minerOf(limit);
  const std::vector<std::string> names = mixed(40, 20, std::string(deed.name));
  const PeakMemory peak;
  Songs songs;
  const double spent = Longest().measure([&] { songs = mine(*miner, names); });
  EXPECT_LT(peak.mebibytes(), 64);
  EXPECT_LT(spent, (2 * limit + withSlack(milliseconds(1000))).count()) << "for two files";
  ASSERT_THAT(songs->items, SizeIs(42));
  EXPECT_FALSE(songs->operation.skipped);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool isGood = i != 20 && i != 41;
    EXPECT_EQ(songs->items[i]->title, isGood ? "Title of " + names[i] : "") << names[i];
    EXPECT_EQ(songs->items[i]->name, names[i]);
  }
  for (const auto& name : {names[20], names[41]}) {
    EXPECT_EQ(log.levelOf("NULL file for track: " + temporary.path(name)), LogLevel::Warning);
    EXPECT_EQ(log.levelOf("insert empty: " + temporary.path(name)), LogLevel::Warning);
    EXPECT_THAT(log.texts(" for track: " + temporary.path(name)).front(),
                HasSubstr(std::string(deed.end)));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Isolated, HostileFile,
    testing::Values(Deed{"crash", kIsSanitized ? "ended" : "signal 11", false},
                    Deed{"hang", kTooLate, false}, Deed{"bloat", kOutOfMemory},  //
                    Deed{"exit", "exit status 0", false}, Deed{"nonsense", "no result", false},
                    Deed{"flood", "no result", false}, Deed{"half", kTooLate, false},
                    Deed{"ask", kTooLate, false}, Deed{"deaf", "signal 9", false},
                    Deed{"chatter", kTooLate, false}, Deed{"trickle", kTooLate, false},
                    Deed{"open", kFiltered}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(IsolatedMiner, ATakenOverReaderMakesNoOtherSongVanish) {
  for (const char* lie : {"nosong", "error", "surplus"}) {
    const auto miner = minerOf(kEndless);
    const Songs songs = mine(*miner, {good("a.mp3"), bad(lie), good("b.mp3"), good("c.mp3")});
    EXPECT_THAT(titles(songs),
                ElementsAre("Title of a.mp3", "", "Title of b.mp3", "Title of c.mp3"))
        << lie;
    EXPECT_FALSE(songs->operation.skipped);
  }
}

TEST_F(IsolatedMiner, AnExceptionOfTheParserIsToldAsItIsInProcess) {
  const auto miner = minerOf(kShort);
  const Songs songs = mine(*miner, {good("a.mp3"), bad("throw"), good("b.mp3")});
  EXPECT_THAT(titles(songs), ElementsAre("Title of a.mp3", "Title of b.mp3"));
  EXPECT_EQ(log.levelOf("exception from taglib for track: " + temporary.path("throw.mp3") +
                        " what thrown by?[2Jthe parser"),
            LogLevel::Error);
}

TEST_F(IsolatedMiner, AStopEndsAReaderWhateverItDoes) {
  for (const char* deed : {"hang", "chatter", "trickle", "ask"}) {
    const auto miner = minerOf(kEndless);
    Songs songs;
    const auto names = {good("a.mp3"), bad(deed), good("b.mp3")};
    std::thread mining([&] { songs = mine(*miner, names); });
    std::this_thread::sleep_for(withSlack(milliseconds(60)));
    const double stopping = Longest().measure([&] {
      miner->stop();
      mining.join();
    });
    EXPECT_LT(stopping, withSlack(milliseconds(100)).count()) << deed;
    EXPECT_THAT(titles(songs), ElementsAre("Title of a.mp3"));
    EXPECT_TRUE(songs->operation.skipped);
    EXPECT_THAT(log.texts(deed), SizeIs(0)) << "an interrupted file is not to blame";
  }
}

TEST_F(IsolatedMiner, TooManyFilesThatEndTheReaderLeaveTheRestUndone) {
  const auto miner = minerOf(kEndless);
  std::vector<std::string> names;
  for (int i = 0; i < 64; ++i) names.push_back(bad("exit", std::to_string(i)));
  names.push_back(good("a.mp3"));
  EXPECT_THAT(mine(*miner, names, false)->items, SizeIs(64));
  const Songs rest = mine(*miner, {"a.mp3"});
  EXPECT_TRUE(rest->items.empty() && rest->operation.skipped);
  EXPECT_THAT(miner->progress->snapshot().leftUndone, ElementsAre(HasSubstr("too many files")));
}

TEST_F(IsolatedMiner, BlocksFollowOneAnotherAlsoWhenOneIsCutShort) {
  const auto miner = minerOf(kShort);
  EXPECT_THAT(titles(mine(*miner, mixed(100, 1000, ""), false)), SizeIs(100));
  // The mount point of this block is gone: its files are never opened.
  const auto cut =
      boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", temporary.path("gone"), false));
  for (const char* name : {"missing.mp3", "1.mp3", "2.mp3"}) {
    cut->items.push_back(new FileInfo(temporary.path(name), 0, 5));
  }
  EXPECT_TRUE(miner->doOperation(cut)->items.empty());
  EXPECT_THAT(titles(mine(*miner, {"7.mp3", "8.mp3"})),
              ElementsAre("Title of 7.mp3", "Title of 8.mp3"));
}

class NoReader : public IsolatedMiner, public testing::WithParamInterface<const char*> {};

TEST_P(NoReader, FallsBackToTheHostsProcessAndSaysSoUnlessIsolationIsRequired) {
  if (kIsEmulated && GetParam() == std::string("of-another-build"))
    GTEST_SKIP() << "the emulator's script gives the program its own name";
  temporary.file("not-executable", "#!/bin/true\n");
  std::filesystem::create_symlink(ORVEL_HOSTILE_TAG_READER, temporary.path("of-another-build"));
  std::string program = GetParam();
  if (program[0] != '/') program = temporary.path(program);
  const auto miner = minerOf(kShort, program);
  const Songs songs = mine(*miner, mixed(30, 100, ""), false);
  EXPECT_THAT(songs->items, SizeIs(30));
  EXPECT_THAT(titles(songs), Each(HasSubstr("Title of")));
  EXPECT_THAT(titles(mine(*miner, {"9.mp3"})), ElementsAre("Title of 9.mp3"));
  EXPECT_TRUE(miner->progress->snapshot().isolationFailed);
  EXPECT_EQ(miner->progress->snapshot().confinement, Confinement::None);
  const auto strict = minerOf(kShort, program, TagReading::IsolationRequired);
  const Songs none = mine(*strict, {"9.mp3"});
  EXPECT_TRUE(none->items.empty() && none->operation.skipped);
  const ProgressSnapshot snapshot = strict->progress->snapshot();
  EXPECT_THAT(snapshot.leftUndone, ElementsAre(HasSubstr("cannot be read in isolation")));
  EXPECT_TRUE(!snapshot.isolationFailed && !snapshot.confinement);
  const auto warnings = log.texts("cannot be started, tags are read without isolation");
  EXPECT_THAT(warnings, ElementsAre(HasSubstr(program)));
}

INSTANTIATE_TEST_SUITE_P(Isolated, NoReader,
                         testing::Values("missing", "not-executable", "/bin/true", "/bin/echo",
                                         "of-another-build"));

TEST_F(IsolatedMiner, AReaderThatCannotBeStartedAgainLeavesTheRestUndone) {
  const std::string program = temporary.path("reader");
  std::filesystem::copy_file(ORVEL_HOSTILE_TAG_READER, program);
  const auto miner = minerOf(kShort, program);
  EXPECT_THAT(titles(mine(*miner, {good("a.mp3")}, false)), SizeIs(1));
  std::filesystem::remove(program);
  const Songs songs = mine(*miner, {"a.mp3", bad("crash"), good("b.mp3")});
  EXPECT_THAT(titles(songs), ElementsAre("Title of a.mp3"))
      << "a file that may have ended the reader was read in-process";
  EXPECT_TRUE(songs->operation.skipped);
  EXPECT_THAT(miner->progress->snapshot().leftUndone, ElementsAre(HasSubstr("confined reader")));
  EXPECT_THAT(log.texts("cannot be started again"), SizeIs(1));
}

/// A miner with one reader for each program.
std::unique_ptr<MSDMiner> poolOf(const std::vector<std::string>& programs) {
  return std::make_unique<MSDMiner>(
      "MSDMiner", std::make_shared<MountPointWatch>(), [=](std::stop_token token) {
        const auto patience = std::make_shared<TagReaderPatience>(kShort);
        TagReaderPool::Readers readers;
        for (const std::string& program : programs) {
          readers.push_back(
              std::make_unique<IsolatedTagReader>(token, program, TagReading::Isolated, patience));
        }
        return std::make_unique<TagReaderPool>(std::move(readers));
      });
}

TEST_F(IsolatedMiner, SeveralReadersKeepTheOrderAndBlameOnlyTheFilesThatEndThem) {
  const std::string program = ORVEL_HOSTILE_TAG_READER;
  const auto miner = poolOf({program, program, program});
  std::vector<std::string> names = mixed(480, 1000, "");
  const std::map<std::size_t, const char*> deeds = {{3, "crash"},  {17, "exit"},    {40, "hang"},
                                                    {41, "crash"}, {200, "nosong"}, {479, "exit"}};
  for (const auto& [index, deed] : deeds) names[index] = bad(deed, std::to_string(index));
  for (const bool last : {false, true}) {
    const Songs songs = mine(*miner, names, last);
    ASSERT_THAT(songs->items, SizeIs(names.size()));
    EXPECT_FALSE(songs->operation.skipped);
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_EQ(songs->items[i]->name, names[i]);
      EXPECT_EQ(songs->items[i]->title, deeds.contains(i) ? "" : "Title of " + names[i]);
    }
  }
}

TEST_F(IsolatedMiner, AReaderThatCannotBeStartedBesidesAnotherIsDoneWithout) {
  const auto miner = poolOf({ORVEL_HOSTILE_TAG_READER, "/bin/true", ORVEL_HOSTILE_TAG_READER});
  EXPECT_THAT(titles(mine(*miner, mixed(480, 1000, ""))), Each(HasSubstr("Title of")));
  EXPECT_FALSE(miner->progress->snapshot().isolationFailed);
  EXPECT_THAT(log.texts("without isolation"), SizeIs(0));
}

}  // namespace
}  // namespace orvel::test
