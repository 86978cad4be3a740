#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>

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
  for (const std::string& name : names) {
    writeSong(stick + "/" + name, {"'; DROP TABLE ARTISTS; --", "\"; \x1b[2J", "\xED\xA0\x80"});
  }
  index("dev1", stick);
  EXPECT_THAT(query("SELECT COUNT(*) FROM SONGS"), ElementsAre("6"));
  EXPECT_EQ(manager.getStatus("dev1", stick), "OK");
  EXPECT_THAT(query("SELECT COUNT(*) FROM ARTISTS WHERE ARTIST = '\";  [2J'"), ElementsAre("1"));
  const auto before = query("SELECT ID FROM SONGS");
  index("dev1", stick);
  EXPECT_EQ(query("SELECT ID FROM SONGS"), before) << "an unchanged file was read again";
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
