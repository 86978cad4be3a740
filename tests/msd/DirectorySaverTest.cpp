#include "msd/DirectorySaver.h"

#include <gmock/gmock.h>

#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

using DirectoryBlock = Block<Directory*>;

/// Folders below /m given as path, parent and whether a song lies directly in them; the root first.
boost::shared_ptr<DirectoryBlock> tree(
    std::initializer_list<std::tuple<const char*, int, bool>> folders) {
  auto block = boost::make_shared<DirectoryBlock>(Operation(1, 0, "dev", "/m", true));
  for (const auto& [path, parent, music] : folders) {
    block->items.push_back(new Directory(path, "/m", parent));
    block->items.back()->hasMusic = music;
  }
  return block;
}

auto deepTree(bool music) {
  return tree({{"/m", -1, false},
               {"/m/A", 0, false},
               {"/m/Lists", 0, false},
               {"/m/A/B", 1, false},
               {"/m/A/B/C", 3, music},
               {"/m/A/B/C/D", 4, false}});
}

class DirectorySaverTest : public DatabaseFolderFixture {
 protected:
  DirectorySaverTest() {
    manager.createDb("dev", "/m", true);
    saver.start();
  }
  /// Each folder with its parent's path, or with the raw parent where it is no folder.
  static std::vector<std::string> stored() {
    return rowsOf(
        "dev",
        "SELECT D.PATH, D.NAME, COALESCE(P.PATH, D.PARENT_ID) FROM DIRECTORIES D LEFT JOIN"
        " DIRECTORIES P ON D.PARENT_ID = P.OBJECTID ORDER BY D.PATH;");
  }

  DirectorySaver saver{"DirectorySaver"};
};

TEST_F(DirectorySaverTest, StoresTheFoldersAboveMusicAndOnlyWhenTheyChanged) {
  const auto result = saver.doOperation(deepTree(true));
  EXPECT_TRUE(result->operation.last && !result->operation.skipped);
  EXPECT_THAT(stored(), ElementsAre("/m|m|dev", "/m/A|A|/m", "/m/A/B|B|/m/A", "/m/A/B/C|C|/m/A/B"));
  EXPECT_THAT(rowsOf("dev", "SELECT DISTINCT PARTITION_ID FROM DIRECTORIES;"),
              ElementsAre(Md5(Md5Kind::Directory, "/m").text()));
  EXPECT_TRUE(saver.progress->contentModified);

  saver.progress->contentModified = false;
  rowsOf("dev", "INSERT INTO DIRECTORIES(PATH, OBJECTID) VALUES('/other', 'x');");
  LogCapture log;
  saver.doOperation(deepTree(true));
  EXPECT_EQ(log.count("RNC: Did not find changes"), 1);
  EXPECT_FALSE(saver.progress->contentModified);
  saver.doOperation(deepTree(false));
  EXPECT_EQ(log.count("RNC: Found changes 4"), 1);
  EXPECT_THAT(stored(), SizeIs(1)) << "only what lies below the mount point is rewritten";
}

}  // namespace
}  // namespace orvel::test
