#include <orvel/DatabaseMgr.h>
#include <orvel/Settings.h>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "db/DatabaseLease.h"
#include "db/Directory.h"
#include "db/SqlStream.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::MatchesRegex;
using testing::SizeIs;

class DatabaseMgrTest : public DatabaseFolderFixture {
 protected:
  /// Stores a song with names of its own, a playlist and a directory of the partition.
  static void store(const std::string& device, const std::string& mount) {
    const std::string id = "'" + Md5(Md5Kind::Directory, mount).text() + "'";
    const std::string path = "'" + mount + "/s'";
    rowsOf(device,
           "INSERT INTO SONGS(PARTITION_ID, PATH, OBJECTID, ARTISTID) VALUES(" + id + "," + path +
               "," + path + "," + path + "); INSERT INTO ARTISTS VALUES(" + path +
               ",'a',''); INSERT INTO PLAYLISTS(PARTITION_ID, PLAYPATH, TRACKID, LASTMODIFIED)"
               " VALUES(" +
               id + "," + path + "," + path +
               ", 7); INSERT INTO DIRECTORIES(PARTITION_ID,"
               " PATH, OBJECTID) VALUES(" +
               id + "," + path + "," + path + ");");
  }

  /// How many rows of each table are left.
  static std::vector<std::string> counts(const std::string& device) {
    return rowsOf(device,
                  "SELECT (SELECT COUNT(*) FROM SONGS), (SELECT COUNT(*) FROM ARTISTS),"
                  " (SELECT COUNT(*) FROM PLAYLISTS), (SELECT COUNT(*) FROM DIRECTORIES),"
                  " (SELECT COUNT(*) FROM PARTITIONS);");
  }
};

TEST_F(DatabaseMgrTest, EveryDeviceIdGetsAFileOfItsOwnInTheFolder) {
  // clang-format off
  const std::vector<std::string> ids = {
      "", "dev1", "dev/1", "dev_1", "../../etc/passwd", std::string(10000, 'x'),
      std::string(10001, 'x'), std::string("a\0b", 3), "a", "\xFF\xFE\n", "caf\xC3\xA9", "."};
  // clang-format on
  std::set<std::string> files;
  for (const std::string& id : ids) {
    manager.createDb(id, "/m", true);
    const std::string file = manager.getDbNameFromDevId(id);
    EXPECT_EQ(fs::path(file).parent_path(), temporary.path("db"));
    EXPECT_THAT(fs::path(file).filename().string(),
                MatchesRegex("[A-Za-z0-9_-]{0,24}-[0-9a-f]{32}\\.db"));
    EXPECT_TRUE(fs::exists(file)) << id;
    files.insert(file);
  }
  EXPECT_THAT(files, SizeIs(ids.size()));
  EXPECT_EQ(fs::status(temporary.path("db")).permissions(), fs::perms::owner_all);
  EXPECT_THAT(fs::path(databaseOf("")).filename().string(), "-d41d8cd98f00b204e9800998ecf8427e.db");
}

TEST_F(DatabaseMgrTest, OnlyPartitionsThatAreReallyGoneLoseTheirRows) {
  const std::string a = temporary.folder("a");
  const std::string mounted = temporary.folder("mounted");
  temporary.file("mounted/x");
  const std::string empty = temporary.folder("empty");
  const std::string gone = temporary.path("gone");
  const std::string late = temporary.path("late");
  const std::string alive = temporary.path("alive");
  for (const std::string& mount : {a, mounted, empty, gone, late, alive}) {
    manager.createDb("dev", mount, mount == a);
    store("dev", mount);
  }
  manager.removeDanglingPartitions("dev", a);
  EXPECT_THAT(counts("dev"), ElementsAre("6|6|6|6|6")) << "all are of the current attach";

  manager.createDb("dev", a, true);
  manager.createDb("dev", late, false);
  const DatabaseMgr::Lease lease("dev", alive);
  const DatabaseMgr::Lease otherDevice("dev2", gone);
  manager.removeDanglingPartitions("dev", a);
  EXPECT_THAT(counts("dev"), ElementsAre("4|4|4|4|4"));
  EXPECT_THAT(
      rowsOf("dev", "SELECT PATH FROM SONGS WHERE PATH LIKE '%gone%' OR PATH LIKE '%empty%';"),
      ElementsAre());
}

TEST_F(DatabaseMgrTest, ATooLargeDatabaseIsDeletedOrEmptiedInPlace) {
  manager.createDb("dev", "/m", true);
  store("dev", "/m");
  manager.insertStatus("dev", "/m", "OK");
  manager.sync("dev");
  const auto size = static_cast<long>(fs::file_size(databaseOf("dev")));
  auto own = std::make_unique<DatabaseMgr::Lease>("dev", "/m");
  auto other = std::make_unique<DatabaseMgr::Lease>("dev", "/n");
  EXPECT_FALSE(manager.checkAndDelete("dev", size));
  EXPECT_THAT(counts("dev"), ElementsAre("1|1|1|1|1"));

  const auto inode = [&] {
    struct stat status {};
    stat(databaseOf("dev").c_str(), &status);
    return status.st_ino;
  };
  const auto before = inode();
  EXPECT_TRUE(manager.checkAndDelete("dev", size - 1));
  EXPECT_TRUE(other->lostRows()) << "it must not end with status OK";
  EXPECT_THAT(counts("dev"), ElementsAre("0|0|0|0|1"));
  EXPECT_EQ(manager.getStatus("dev", "/m"), "");
  EXPECT_EQ(inode(), before) << "another request still has it open";

  other.reset();
  temporary.file(fs::relative(databaseOf("dev") + "-journal", temporary.path()).string());
  manager.checkAndDelete("dev", 0);
  for (const auto& entry : fs::directory_iterator(temporary.path("db"))) {
    EXPECT_EQ(entry.path().filename(), "orvel.lock");
  }
}

TEST_F(DatabaseMgrTest, TheSizeLimitCountsTheLogAndAReserve) {
  EXPECT_FALSE(manager.dbSizeHasReachLimit("dev"));
  constexpr long kReserve = 4L << 20;
  manager.createDirectory();
  const auto resize = [&](const std::string& suffix, off_t size) {
    const std::string file = databaseOf("dev") + suffix;
    const int descriptor = open(file.c_str(), O_CREAT | O_WRONLY, 0600);
    EXPECT_EQ(ftruncate(descriptor, size), 0);
    close(descriptor);
  };
  resize("", Limits().databaseBytes - kReserve);
  EXPECT_FALSE(manager.dbSizeHasReachLimit("dev"));
  resize("-wal", 1);
  EXPECT_TRUE(manager.dbSizeHasReachLimit("dev"));
  resize("-wal", 0);
  resize("", off_t{3} << 30);
  EXPECT_TRUE(manager.dbSizeHasReachLimit("dev"));
}

TEST_F(DatabaseMgrTest, SyncGivesSpaceBackAndTruncatesTheLog) {
  manager.sync("dev");
  EXPECT_FALSE(fs::exists(databaseOf("dev")));
  manager.createDb("dev", "/m", true);
  sqlstl::basic_sqlostream<char> out;
  manager.open("dev", out, 1000);
  out.exec(
      "WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I + 1 FROM N WHERE I < 3000)"
      " INSERT INTO SONGS(PATH, OBJECTID, TITLE) SELECT I, I, hex(zeroblob(200)) FROM N;");
  manager.sync("dev");
  const auto full = fs::file_size(databaseOf("dev"));
  out.exec("DELETE FROM SONGS;");
  EXPECT_GT(fs::file_size(databaseOf("dev") + "-wal"), 0U);
  manager.sync("dev");
  EXPECT_EQ(fs::file_size(databaseOf("dev") + "-wal"), 0U);
  EXPECT_LT(fs::file_size(databaseOf("dev")), full / 4);
}

}  // namespace
}  // namespace orvel::test
