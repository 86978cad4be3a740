#include "msd/SongSaver.h"

#include <gmock/gmock.h>

#include <thread>

#include "tests/msd/CatchingSink.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

using Songs = Block<MetaDataInfo*>;

MetaDataInfo* song(const std::string& path, const std::string& artist) {
  return new MetaDataInfo(path, "/m", "T", artist, "B", "G", "C", 3, 2, 1234567890);
}

boost::shared_ptr<Songs> blockOf(bool last, std::vector<MetaDataInfo*> songs) {
  auto block = boost::make_shared<Songs>(Operation(1, 0, "dev", "/m", last));
  block->items = std::move(songs);
  return block;
}

class SongSaverTest : public DatabaseFolderFixture {
 protected:
  SongSaverTest() { manager.createDb("dev", "/m", true); }
  static std::vector<std::string> sql(const std::string& text) { return rowsOf("dev", text); }

  SongSaver saver{"SongSaver"};
};

TEST_F(SongSaverTest, WritesASharedNameOncePerBlockAndKeepsEveryRecord) {
  sql("CREATE TABLE WRITES(A); CREATE TRIGGER T AFTER INSERT ON ARTISTS BEGIN INSERT INTO WRITES"
      " VALUES(NEW.ARTIST); END;");
  std::vector<MetaDataInfo*> songs;
  for (int i = 0; i < 20; ++i) songs.push_back(song("/m/" + std::to_string(i), i % 2 ? "X" : "Y"));
  // Equal texts of another source: the second writing is harmless.
  std::thread([&] { songs.push_back(song("/m/other", "X")); }).join();
  songs.push_back(song("/m/1", "X"));
  saver.doOperation(blockOf(true, songs));
  EXPECT_THAT(sql("SELECT A, COUNT(*) FROM WRITES GROUP BY A;"), ElementsAre("X|2", "Y|1"));
  EXPECT_THAT(sql("SELECT COUNT(*), COUNT(DISTINCT PATH) FROM SONGS;"), ElementsAre("21|21"));
}

TEST_F(SongSaverTest, ALostRowDropsItsTableForTheBlockAndMarksTheRequest) {
  sql("CREATE TRIGGER T BEFORE INSERT ON SONGS WHEN NEW.PATH = '/m/bad'"
      " BEGIN SELECT RAISE(ABORT, 'no'); END;");
  const LogCapture log;
  CatchingSink<Block<void>> sink;
  saver.sink = &sink;
  saver.launch();
  saver.start();
  saver.enqueue(blockOf(false, {song("/m/a", "1"), song("/m/bad", "2"), song("/m/b", "3")}));
  ASSERT_TRUE(waitUntil([&] { return !log.texts("SongSaver timer").empty(); }));
  EXPECT_THAT(log.texts("failed"), ElementsAre("exec failed: 19 no", "step failed"));
  EXPECT_THAT(sql("SELECT PATH FROM SONGS; SELECT ARTIST FROM ARTISTS ORDER BY 1;"),
              ElementsAre("/m/a", "1", "2", "3"));
  saver.enqueue(blockOf(true, {song("/m/c", "1")}));
  std::vector<boost::shared_ptr<Block<void>>> sent;
  ASSERT_TRUE(waitUntil([&] { return !(sent = sink.take()).empty(); }));
  EXPECT_TRUE(sent[0]->operation.last && sent[0]->operation.skipped);
  saver.stop();
  saver.join();
  EXPECT_THAT(sql("SELECT PATH FROM SONGS; SELECT ARTIST FROM ARTISTS;"),
              ElementsAre("/m/a", "/m/c", "1"));
}

TEST_F(SongSaverTest, NamesAreCleanedUpOnlyWhereOneMayBeWithoutASong) {
  sqlite::Connection database;
  ASSERT_EQ(database.open(manager.getDbNameFromDevId("dev").c_str(), SQLITE_OPEN_READWRITE),
            SQLITE_OK);
  saver.orphanCandidates->begin(database);
  saver.progress->songsChanged = true;
  sql("INSERT INTO ARTISTS VALUES('2s', 'stray', '');");
  saver.doOperation(blockOf(true, {song("/m/a", "1"), song("/m/b", "1")}));
  EXPECT_THAT(sql("SELECT ARTIST FROM ARTISTS ORDER BY 1;"), ElementsAre("1", "stray"));
  // A device that lists a file twice.
  saver.doOperation(blockOf(true, {song("/m/c", "2"), song("/m/c", "3")}));
  EXPECT_THAT(sql("SELECT ARTIST FROM ARTISTS ORDER BY 1;"), ElementsAre("1", "3"));
}

}  // namespace
}  // namespace orvel::test
