#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>

#include <filesystem>

#include "base/Limits.h"
#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;

/// Sticks from strangers: each file costs itself at most, never the others.
class HostileStickTest : public IndexerHost {
 protected:
  std::vector<std::string> query(const std::string& sql) { return rowsOf("dev1", sql); }
};

TEST_F(HostileStickTest, NamesAndTagsFullOfSqlControlsAndBrokenUtf8) {
  const std::string names[] = {"';DROP TABLE SONGS;--.mp3",
                               "\"quoted\".mp3",
                               "new\nline.mp3",
                               "\xff\xfe.mp3",
                               "100%_[a].mp3",
                               std::string(200, 'n') + ".mp3"};
  const std::string mountPoint = temporary.folder("stick/\"; DROP TABLE SONGS; --");
  for (const std::string& name : names) {
    writeSong(mountPoint + "/" + name,
              {"'; DROP TABLE ARTISTS; --", "\"; \x1b[2J", "\xED\xA0\x80"});
  }
  writeSong(mountPoint + "/plain.mp3", {"T", "A"});
  temporary.file("stick/\"; DROP TABLE SONGS; --/list.m3u", "plain.mp3\n\"quoted\".mp3\n");
  index("dev1", mountPoint);
  EXPECT_THAT(query("SELECT COUNT(*) FROM SONGS"), ElementsAre("7"));
  EXPECT_EQ(manager.getStatus("dev1", mountPoint), "OK");
  EXPECT_THAT(query("SELECT COUNT(*) FROM ARTISTS WHERE ARTIST = '\";  [2J'"), ElementsAre("1"));
  constexpr char kRows[] = "SELECT 'S', ID FROM SONGS UNION ALL SELECT 'P', ID FROM PLAYLISTS";
  const auto before = query(kRows);
  EXPECT_EQ(before.size(), 7U + 3U);
  index("dev1", mountPoint);
  EXPECT_EQ(query(kRows), before) << "an unchanged file was read again";
  std::filesystem::remove(mountPoint + "/plain.mp3");
  index("dev1", mountPoint);
  EXPECT_THAT(query("SELECT COUNT(*) FROM SONGS"), ElementsAre("6"));
}

TEST_F(HostileStickTest, MoreSongsThanOneRequestTakes) {
  for (int i = 0; i < 16001; ++i) {
    temporary.file("stick/" + std::to_string(i / 500) + "/" + std::to_string(i) + ".mp3");
  }
  index("dev1", stick);
  EXPECT_THAT(query("SELECT COUNT(*) FROM SONGS"), ElementsAre("16000"));
  EXPECT_TRUE(progress().limitReached);
  EXPECT_EQ(progress().status, "OK");
}

/// Only growth that is not the indexer's own makes it delete a database.
TEST_F(HostileStickTest, PlaylistsStopBeforeTheSizeLimit) {
  constexpr std::int64_t kMebibyte = 1 << 20;
  writeSong(stick + "/a.mp3", {"T", "A"});
  std::string entries;
  for (int i = 0; i < 5000; ++i) entries += "a.mp3\n";
  for (int i = 0; i < 8; ++i) temporary.file("stick/" + std::to_string(i) + ".m3u", entries);
  setLimits({.databaseBytes = 8 * kMebibyte});
  for (int run = 0; run < 2; ++run) {
    index("dev1", stick);
    EXPECT_THAT(query("SELECT COUNT(*) FROM SONGS"), ElementsAre("1"));
    EXPECT_EQ(progress().status, "PROGRESS");
    EXPECT_THAT(progress().leftUndone, ElementsAre(testing::HasSubstr("size limit")));
    const unsigned stored = progress().playlists.stored;
    EXPECT_TRUE(stored > 0 && stored < 8) << stored;
  }
  setLimits({});
  index("dev1", stick);
  EXPECT_EQ(progress().status, "OK");
  EXPECT_EQ(progress().playlists.stored, 8U);
  setLimits({.databaseBytes = kMebibyte});
  index("dev1", stick);
  setLimits({});
  EXPECT_EQ(progress().status, "");
  EXPECT_THAT(progress().leftUndone, testing::Contains(testing::HasSubstr("was deleted")));
}

TEST_F(HostileStickTest, AFilesOwnSortFormIsTakenForAsianTextsOnly) {
  const auto write = [&](const char* name, const char* title, const char* sortForm) {
    const std::string path = stick + "/" + name;
    writeSong(path, {title, "Artist"});
    TagLib::MPEG::File file(path.c_str());
    auto* frame = new TagLib::ID3v2::TextIdentificationFrame("TSOT", TagLib::String::UTF8);
    frame->setText(TagLib::String(sortForm, TagLib::String::UTF8));
    file.ID3v2Tag(true)->addFrame(frame);
    file.save();
  };
  write("a.mp3", "涙のキッス", "なみだのきっす");
  write("b.mp3", "雨音", "Amaoto");
  write("c.mp3", "The Rain", "Rain, The");
  index("dev1", stick);
  EXPECT_THAT(rowsOf("dev1", "SELECT TITLE, ASIANTITLE FROM SONGS ORDER BY PATH"),
              ElementsAre("涙のキッス|なみだのきっす", "雨音|yu yin", "The Rain|"));
}

}  // namespace
}  // namespace orvel::test
