#include <fcntl.h>
#include <gmock/gmock.h>
#include <orvel/Settings.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Log.h"
#include "msd/MSDMiner.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/sparseSong.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class Miner : public DatabaseFolderFixture {
 protected:
  auto mine(const std::vector<std::string>& names, const std::string& mount, int id = 1,
            bool last = false) {
    const auto block = boost::make_shared<Block<FileInfo*>>(Operation(id, 0, "dev", mount, last));
    for (const auto& name : names) block->items.push_back(new FileInfo(mount + "/" + name, 0, 5));
    return miner.doOperation(block);
  }

  LogCapture log;
  MSDMiner miner{"MSDMiner"};
};

TEST_F(Miner, WhatCannotBeReadIsASongWithoutTexts) {
  temporary.file("empty.m4a");
  temporary.file("text.mp4", std::string(5000, 'x'));
  ASSERT_EQ(mkfifo(temporary.path("fifo.mp3").c_str(), 0600), 0);
  temporary.folder("folder.mp3");
  const auto songs =
      mine({"vanished.wma", "fifo.mp3", "folder.mp3", "empty.m4a"}, temporary.path());
  ASSERT_THAT(songs->items, SizeIs(4));
  for (const MetaDataInfo* song : songs->items) {
    EXPECT_EQ(song->title + song->artist + song->album + song->genre + song->composer, "");
    EXPECT_TRUE(song->lastModified == 5 && song->audioType == 1);
  }
  const MetaDataInfo& first = *songs->items[0];
  EXPECT_TRUE(first.trackNumber == 1 && first.discNumber == 1 && first.name == "vanished.wma");
  EXPECT_EQ(log.levelOf("NULL file for track: " + first.path), LogLevel::Warning);
  EXPECT_EQ(log.levelOf("insert empty: " + first.path), LogLevel::Warning);
  EXPECT_FALSE(songs->operation.skipped);
}

TEST_F(Miner, AHugeSongOfAfter2038OnAStickOfAfter2038IsRead) {
  writeSparseSong(temporary.path("huge.mp3"), "Huge", kThreeGibibytes);
  temporary.touch("huge.mp3", 4000000000);
  temporary.touch(".", 4000000000);
  const auto songs = mine({"huge.mp3", "vanished.mp3"}, temporary.path());
  ASSERT_THAT(songs->items, SizeIs(2));
  EXPECT_EQ(songs->items[0]->title, "Huge");
  EXPECT_FALSE(songs->operation.skipped);
}

/// An MP3 whose tag has these bytes, of an encoding that it does not name, as title, artist, album
/// and genre.
std::string songOf(const std::string& bytes) {
  const auto number = [](std::size_t value, unsigned bits) {
    std::string text;
    for (int i = 3; i >= 0; --i) {
      text += static_cast<char>(value >> (static_cast<unsigned>(i) * bits) & ((1U << bits) - 1));
    }
    return text;
  };
  std::string frames;
  for (const char* id : {"TIT2", "TPE1", "TALB", "TCON"}) {
    frames += id + number(bytes.size() + 1, 8) + std::string(3, '\0') + bytes;
  }
  return std::string("ID3\3\0\0", 6) + number(frames.size(), 7) + frames;
}

TEST_F(Miner, LongTextsAreCutAtACharacterAndAFullBlockIsSentAhead) {
  constexpr int kSongs = 150;
  std::string text = "x";
  while (text.size() < 20000) text += "字";
  std::vector<std::string> names;
  for (int i = 0; i < kSongs; ++i) {
    names.push_back(std::to_string(i) + ".mp3");
    temporary.file(names.back(), songOf(text));
  }
  CatchingSink<Block<MetaDataInfo*>> sink;
  miner.sink = &sink;
  const auto rest = mine(names, temporary.path(), 1, true);
  auto blocks = sink.take();
  blocks.push_back(rest);
  ASSERT_THAT(blocks, SizeIs(2));
  EXPECT_TRUE(!blocks[0]->operation.last && blocks[1]->operation.last);
  int song = 0;
  for (const auto& block : blocks) {
    EXPECT_LT(block->items.size() * 4 * 3 * 4096, std::size_t{8} << 20);
    for (const MetaDataInfo* mined : block->items) {
      EXPECT_EQ(mined->name, names[song++]);
      EXPECT_EQ(mined->artist, text.substr(0, 1 + 3 * 4095));
    }
  }
  EXPECT_EQ(song, kSongs);
}

TEST_F(Miner, AStopAndTheSizeLimitLeaveWorkUndone) {
  manager.createDirectory();
  const int descriptor = open((databaseOf("dev") + "-wal").c_str(), O_CREAT | O_WRONLY, 0600);
  ASSERT_EQ(ftruncate(descriptor, Limits().databaseBytes), 0);
  close(descriptor);
  const auto full = mine({"a.mp3"}, temporary.path());
  EXPECT_TRUE(full->operation.skipped && full->items.empty());
  EXPECT_EQ(log.levelOf("MSDMiner SKIPPED db size limit reached (op: 1)"), LogLevel::Info);
  manager.deleteDb("dev");
  miner.stop();
  const auto stopped = mine({"a.mp3"}, temporary.path(), 2);
  EXPECT_TRUE(stopped->operation.skipped && stopped->items.empty());
}

}  // namespace
}  // namespace orvel::test
