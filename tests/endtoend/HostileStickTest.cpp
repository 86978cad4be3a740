#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>

#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"

namespace orvel::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

/// Sticks from strangers: each file costs itself at most, never the others.
class HostileStickTest : public IndexerHost {
 protected:
  std::vector<std::string> query(const std::string& sql) { return rowsOf("dev1", sql); }

  void expectGoodSongAmong(int songs) {
    writeSong(stick + "/good.mp3", {"Good", "X"});
    index("dev1", stick);
    EXPECT_THAT(query("SELECT COUNT(*) FROM SONGS"), ElementsAre(std::to_string(songs)));
    EXPECT_THAT(query("SELECT TITLE FROM SONGS"), Contains("Good"));
    EXPECT_EQ(manager.getStatus("dev1", stick), "OK");
  }
};

std::string synchsafe(std::size_t n) {
  return {static_cast<char>(n >> 21U & 127U), static_cast<char>(n >> 14U & 127U),
          static_cast<char>(n >> 7U & 127U), static_cast<char>(n & 127U)};
}

std::string frame(const std::string& id, const std::string& data, bool compressed = false) {
  return id + synchsafe(data.size()) + std::string(1, '\0') + (compressed ? '\x09' : '\0') + data;
}

std::string id3v2(const std::string& frames) {
  return std::string("ID3\4\0\0", 6) + synchsafe(frames.size()) + frames;
}

std::string deflated(const std::string& text) {
  uLongf size = compressBound(text.size());
  std::string out(size, '\0');
  compress2(reinterpret_cast<Bytef*>(out.data()), &size,
            reinterpret_cast<const Bytef*>(text.data()), text.size(), 9);
  out.resize(size);
  return synchsafe(text.size() & 0xFFFFFFFU) + out;
}

TEST_F(HostileStickTest, BrokenAudioOfEveryKind) {
  const std::string noise(5000, '\xA5');
  for (const char* extension : {"mp3", "m4a", "flac", "wma", "wav", "mpg", "aac", "asf"}) {
    temporary.file(std::string("stick/empty.") + extension);
    temporary.file(std::string("stick/noise.") + extension, noise);
    temporary.file(std::string("stick/text.") + extension, "<html>not music</html>");
  }
  for (const char* extension : {".mp3", ".m4a", ".flac", ".wma"}) {
    const std::string path = stick + "/cut" + extension;
    writeSong(path, {"Cut", "X"});
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 3);
  }
  expectGoodSongAmong(24 + 4 + 1);
}

TEST_F(HostileStickTest, TagsThatExplode) {
  const std::string bomb = deflated(std::string(16 << 20, 'A'));
  temporary.file("stick/frame.mp3", id3v2(frame("TIT2", bomb, true) + frame("TPE1", "\3After")));
  const std::string inner =
      std::string("c\0", 2) + std::string(16, '\0') + frame("TIT2", bomb, true);
  temporary.file("stick/chapter.mp3", id3v2(frame("CHAP", inner) + frame("TPE1", "\3After")));
  temporary.file("stick/nested.mp3",
                 id3v2(frame("CHAP", deflated(inner), true) + frame("TPE1", "\3After")));
  temporary.file("stick/harmless.mp3", id3v2(frame("TIT2", deflated("\3Deflated title"), true)));
  std::string many;
  for (int i = 0; i < 60000; ++i) many += frame("TXXX", std::string("\3a\0b", 4));
  temporary.file("stick/many.mp3", id3v2(many));
  temporary.file("stick/large.mp3", id3v2(frame("TIT2", '\3' + std::string(10 << 20, 'L'))));
  temporary.file("stick/sparse.mp3");
  std::filesystem::resize_file(stick + "/sparse.mp3", std::uintmax_t{300} << 20);
  expectGoodSongAmong(8);
  EXPECT_THAT(query("SELECT TITLE, ARTIST FROM SONGS JOIN ARTISTS USING (ARTISTID)"
                    " WHERE NAME IN ('frame.mp3', 'chapter.mp3', 'nested.mp3')"),
              ElementsAre("|After", "|After", "|After"));
  EXPECT_THAT(query("SELECT TITLE FROM SONGS WHERE NAME = 'harmless.mp3'"),
              ElementsAre("Deflated title"));
}

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
  expectGoodSongAmong(7);
  EXPECT_THAT(query("SELECT COUNT(*) FROM ARTISTS WHERE ARTIST = '\";  [2J'"), ElementsAre("1"));
  const auto before = query("SELECT ID FROM SONGS");
  index("dev1", stick);
  EXPECT_EQ(query("SELECT ID FROM SONGS"), before) << "an unchanged file was read again";
}

TEST_F(HostileStickTest, MountPointsThatAreAwkwardInSql) {
  for (const std::string name : {"my stick", "it's", "50%", "_", "Müsik", "say \"hi\""}) {
    const std::string mountPoint = temporary.folder(name);
    writeSong(mountPoint + "/a/s.mp3", {"T", "X"});
    index("dev1", mountPoint);
    index("dev1", mountPoint);
    EXPECT_EQ(manager.getStatus("dev1", mountPoint), "OK") << name;
    std::string quoted = mountPoint;
    for (std::size_t at = 0; (at = quoted.find('\'', at)) != std::string::npos; at += 2) {
      quoted.insert(at, "'");
    }
    EXPECT_THAT(query("SELECT COUNT(*) FROM SONGS WHERE PATH = '" + quoted + "/a/s.mp3'"),
                ElementsAre("1"))
        << name;
  }
}

TEST_F(HostileStickTest, FileSystemOddities) {
  ASSERT_EQ(mkfifo((stick + "/pipe.mp3").c_str(), 0600), 0);
  ASSERT_EQ(symlink("gone", (stick + "/dangling.mp3").c_str()), 0);
  ASSERT_EQ(symlink(".", (stick + "/loop").c_str()), 0);
  writeSong(stick + "/deep/a.mp3", {"A", "X"});
  ASSERT_EQ(symlink("../..", (stick + "/deep/up").c_str()), 0);
  ASSERT_EQ(symlink("deep/a.mp3", (stick + "/linked.mp3").c_str()), 0);
  writeSong(stick + "/future.mp3", {"F", "X"});
  temporary.touch("stick/future.mp3", 4294967296LL + 5);
  expectGoodSongAmong(4);
  index("dev1", stick);
  EXPECT_EQ(progress().songs.added, 0U);
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

TEST_F(HostileStickTest, DamagedAndForeignDatabases) {
  writeSong(stick + "/s.mp3", {"T", "X"});
  const std::string file = databaseOf("dev1");
  const auto replacedAfter = [&](const std::string& content) {
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file, std::ios::binary) << content;
    index("dev1", stick);
    EXPECT_THAT(query("SELECT TITLE FROM SONGS"), ElementsAre("T"));
    EXPECT_EQ(manager.getStatus("dev1", stick), "OK");
  };
  replacedAfter("this is no database");
  replacedAfter(std::string(8192, '\0'));
  rows(file, "PRAGMA journal_mode=DELETE; PRAGMA user_version=99;");
  index("dev1", stick);
  EXPECT_THAT(query("PRAGMA user_version"), ElementsAre("1"));
  rows(file, "CREATE TRIGGER T AFTER INSERT ON SONGS BEGIN DELETE FROM SONGS; END;");
  temporary.touch("stick/s.mp3", 77);
  index("dev1", stick);
  EXPECT_THAT(query("SELECT TITLE FROM SONGS"), ElementsAre("T"));
  // Pages damaged behind an intact header are met while indexing; the run after replaces the file.
  {
    std::fstream damaged(file, std::ios::in | std::ios::out | std::ios::binary);
    damaged.seekp(4096);
    damaged << std::string(std::filesystem::file_size(file) - 4096, '\x5A');
  }
  for (int run = 0; run < 3 && manager.getStatus("dev1", stick) != "OK"; ++run)
    index("dev1", stick);
  EXPECT_THAT(query("SELECT TITLE FROM SONGS"), ElementsAre("T"));
}

}  // namespace
}  // namespace orvel::test
