#include "msd/ChangeFinder.h"

#include <gmock/gmock.h>

#include "db/SqlTexts.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

using Files = std::vector<std::pair<std::string, std::int32_t>>;

class ChangeFinderTest : public DatabaseFolderFixture {
 protected:
  ChangeFinderTest() {
    manager.createDb("dev", "/m", true);
    songs.start();
    playlists.start();
  }

  /// Compares `files` with the database; returns the files that are passed on.
  Files difference(ChangeFinder& finder, const std::string& mount, const Files& files) {
    const auto block = boost::make_shared<Block<FileInfo*>>(Operation(1, 0, "dev", mount, true));
    for (const auto& [path, time] : files) block->items.push_back(new FileInfo(path, 0, time));
    const auto toAdd = finder.doOperation(block);
    EXPECT_TRUE(toAdd->operation.last);
    skipped = toAdd->operation.skipped;
    Files added;
    for (const FileInfo* file : toAdd->items) added.emplace_back(*file->path, file->lastModified);
    return added;
  }

  static void song(const std::string& path, const std::string& time) {
    rowsOf("dev", "INSERT INTO SONGS(PATH, OBJECTID, LASTMODIFIED) VALUES('" + path +
                      "', (SELECT COUNT(*) FROM SONGS), " + time + ");");
  }
  static std::vector<std::string> stored() {
    return rowsOf("dev", "SELECT PATH FROM SONGS ORDER BY ID;");
  }

  ChangeFinder songs{"Songs", ChangeFinder::Content::Songs, sql::kSelectSongs, sql::kDeleteSong,
                     false};
  ChangeFinder playlists{"Playlists", ChangeFinder::Content::Playlists, sql::kSelectPlaylists,
                         sql::kDeletePlaylist, false};
  bool skipped = false;
};

TEST_F(ChangeFinderTest, PassesOnWhatIsNewOrChangedAndDeletesTheRest) {
  const Files all = {{"/m/b", 2}, {"/m/a", 1}, {"/m/a\xFF", 4}, {"/m/a0", 3}};
  EXPECT_THAT(difference(songs, "/m", all), ElementsAre(all[1], all[3], all[2], all[0]))
      << "sorted by unsigned bytes";
  song("/m/a", "1");
  song("/m/b", "3");  // later than the file itself
  song("/m/gone", "1");
  song("/elsewhere/x", "1");
  manager.insertStatus("dev", "/m", "OK");
  EXPECT_THAT(difference(songs, "/m", {{"/m/b", 2}, {"/m/a", 1}, {"/m/c", 1}}),
              ElementsAre(Files::value_type("/m/b", 2), Files::value_type("/m/c", 1)));
  EXPECT_THAT(stored(), ElementsAre("/m/a", "/elsewhere/x"));
  EXPECT_EQ(manager.getStatus("dev", "/m"), "PROGRESS");
  EXPECT_TRUE(songs.progress->contentModified);
  const auto counts = songs.progress->snapshot().songs;
  EXPECT_TRUE(counts.unchanged == 1 && counts.added == 6 && counts.removed == 1);
  EXPECT_FALSE(skipped);
}

TEST_F(ChangeFinderTest, RowsReadDuringTheWalkCountOnlyUntilSomebodyWrites) {
  song("/m/a", "1");
  song("/m/gone", "1");
  songs.readAhead(Operation(1, 0, "dev", "/m", true));
  song("/m/b", "1");
  EXPECT_THAT(difference(songs, "/m", {{"/m/a", 1}, {"/m/b", 1}}), SizeIs(0));
  EXPECT_THAT(stored(), ElementsAre("/m/a", "/m/b"));
}

TEST_F(ChangeFinderTest, EqualIsEqualBeyond2038AndForDoubledRows) {
  song("/m/a", "4294967301");
  song("/m/b", "-2147483648");
  song("/m/c", "2147483648");
  song("/m/d", "7");
  song("/m/d", "7");
  song("/m/d", "8");
  const std::int32_t wrapped = narrowTime(2147483648);
  EXPECT_THAT(
      difference(songs, "/m", {{"/m/a", 5}, {"/m/b", wrapped}, {"/m/c", wrapped}, {"/m/d", 7}}),
      SizeIs(0));
  EXPECT_THAT(stored(), ElementsAre("/m/a", "/m/b", "/m/c", "/m/d"));
}

TEST_F(ChangeFinderTest, LostDeletionsMarkTheRequest) {
  song("/m/a", "1");
  rowsOf("dev", "CREATE TRIGGER T BEFORE DELETE ON SONGS BEGIN SELECT RAISE(ABORT, 'no'); END;");
  const LogCapture log;
  difference(songs, "/m", {});
  EXPECT_EQ(log.count("exec failed: 19 no"), 1);
  EXPECT_TRUE(skipped);
}

TEST_F(ChangeFinderTest, WithoutItsMarkARequestChangesNothing) {
  song("/m/a", "1");
  manager.insertStatus("dev", "/m", "OK");
  rowsOf("dev",
         "CREATE TRIGGER T BEFORE UPDATE ON PARTITIONS BEGIN SELECT RAISE(ABORT, 'no'); END;");
  EXPECT_THAT(difference(songs, "/m", {{"/m/b", 1}}), SizeIs(0));
  EXPECT_THAT(stored(), ElementsAre("/m/a"));
  EXPECT_TRUE(skipped);
}

}  // namespace
}  // namespace orvel::test
