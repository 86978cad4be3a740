#include <gtest/gtest.h>
#include <orvel/Settings.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>

#include "tests/endtoend/Song.h"
#include "tests/faults/Contents.h"
#include "tests/faults/FaultStick.h"
#include "tests/support/Effort.h"
#include "tests/support/contentOf.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPageBytes = 8192;

void writeBytes(const std::string& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

/// A stick whose database somebody else has damaged, replaced or taken away since it was indexed.
class DatabaseTrustTest : public FaultStick {
 protected:
  using Deed = std::function<void()>;

  DatabaseTrustTest() {
    for (int i = 0; i < 60; ++i) {
      const std::string n = std::to_string(i);
      writeSong(stick + "/folder " + std::to_string(i % 7) + "/" + n + ".mp3",
                {"Title " + n, "Artist " + n, "Album " + n, "Genre " + n});
    }
    temporary.file("stick/list.m3u", "folder 0/0.mp3\nfolder 1/1.mp3\nfolder 2/2.mp3\n");
    indexFresh(indexedFile);
    damageFrom(indexedFile);
    writeSong(stick + "/new.mp3", {"New", "New artist"});
    fs::remove(stick + "/folder 3/3.mp3");
    complete = indexFresh(completeFile);
  }

  ~DatabaseTrustTest() override {
    std::printf("%d cases, of which %d ended OK at once\n", cases, unharmed);
  }

  /// Chooses the damage of the following cases.
  void damageFrom(const std::string& indexedBefore) {
    file = indexedBefore;
    indexed = contentOf(file);
  }

  /// A request after the damage, and one or two that mend it.
  void run(
      const std::string& name, const Deed& damage, const Deed& undo = [] {}) {
    SCOPED_TRACE(name);
    beginCase(file);
    damage();
    start(kDevice, stick);
    EXPECT_TRUE(waitUntilEnded());
    const bool told = progress().status == "OK" || manager.getStatus(kDevice, stick) == "OK";
    EXPECT_TRUE(!told || readable() == complete) << "it was called complete";
    unharmed += told ? 1 : 0;
    undo();
    index(kDevice, stick);
    if (manager.getStatus(kDevice, stick) != "OK") index(kDevice, stick);
    EXPECT_EQ(manager.getStatus(kDevice, stick), "OK");
    EXPECT_EQ(readable(), complete);
    EXPECT_EQ(integrityOf(database()), "ok");
    ++cases;
  }

  std::vector<std::string> readable() {
    try {
      return contentsOf(database());
    } catch (const std::runtime_error& error) {
      return {error.what()};
    }
  }

  void replacePage(long page, const std::string& with) {
    std::string damaged = indexed;
    damaged.replace((page - 1) * kPageBytes, kPageBytes, with);
    writeBytes(database(), damaged);
  }

  void damagePages(long pagesInShortForm, std::mt19937_64& random) {
    const std::string zeros(kPageBytes, '\0');
    for (const long page : spread(lastPage(), casesOf(pagesInShortForm, lastPage()), random)) {
      std::string noise(kPageBytes, '\0');
      for (char& byte : noise) byte = static_cast<char>(random());
      const long other = 1 + static_cast<long>(random() % static_cast<unsigned long>(lastPage()));
      const std::string name = "page " + std::to_string(page);
      run(name + " noise", [&] { replacePage(page, noise); });
      run(name + " zeros", [&] { replacePage(page, zeros); });
      run(name + " is page " + std::to_string(other),
          [&] { replacePage(page, indexed.substr((other - 1) * kPageBytes, kPageBytes)); });
    }
  }

  [[nodiscard]] long lastPage() const { return static_cast<long>(indexed.size() / kPageBytes); }

 private:
  int cases = 0;
  int unharmed = 0;

 protected:
  const std::string indexedFile = temporary.path("indexed.db");    ///< before the last changes
  const std::string completeFile = temporary.path("complete.db");  ///< nothing has changed since
  std::string file;                                                ///< what is damaged
  std::string indexed;                                             ///< the file's bytes
  std::vector<std::string> complete;
};

TEST_F(DatabaseTrustTest, DamagedPages) {
  std::mt19937_64 random = seededRandom();
  damagePages(9, random);
}

TEST_F(DatabaseTrustTest, DamagedPagesWhereNothingChanged) {
  std::mt19937_64 random = seededRandom();
  damageFrom(completeFile);
  damagePages(3, random);
}

TEST_F(DatabaseTrustTest, Truncated) {
  std::mt19937_64 random = seededRandom();
  for (const long page : spread(lastPage(), casesOf(6, lastPage()), random)) {
    const auto whole = static_cast<std::size_t>(page - 1) * kPageBytes;
    for (const std::size_t size :
         {whole, whole + 1 + static_cast<std::size_t>(random() % (kPageBytes - 1))}) {
      run(std::to_string(size) + " bytes", [&] { fs::resize_file(database(), size); });
    }
  }
}

TEST_F(DatabaseTrustTest, SchemasOfOthers) {
  const char* const schemas[] = {
      "DROP TABLE SONGS; CREATE TABLE SONGS(A);",
      "DROP TABLE SONGS; CREATE VIEW SONGS AS SELECT * FROM ARTISTS;",
      "DROP VIEW VIEW_PLAYLISTNAMES; CREATE TABLE VIEW_PLAYLISTNAMES(ID);",
      "CREATE TRIGGER T AFTER UPDATE ON PARTITIONS BEGIN DELETE FROM SONGS; END;",
      "CREATE UNIQUE INDEX I ON SONGS(LASTMODIFIED, ALBUMID);",
      "DROP TABLE GENRES;",
      "PRAGMA writable_schema=ON; UPDATE sqlite_schema SET sql='CREATE TABLE SONGS(' WHERE"
      " name='SONGS';",
      "PRAGMA writable_schema=ON; UPDATE sqlite_schema SET rootpage=(SELECT rootpage FROM"
      " sqlite_schema WHERE name='ARTISTS') WHERE name='GENRES';",
      "PRAGMA writable_schema=ON; DELETE FROM sqlite_schema WHERE name='ALBUMS';",
      "PRAGMA user_version=2147483647;",
      "CREATE TRIGGER sqlitex AFTER INSERT ON SONGS BEGIN DELETE FROM SONGS; END;",
  };
  for (const char* schema : schemas) {
    run(schema, [&] { rowsOf(kDevice, schema); });
  }
}

TEST_F(DatabaseTrustTest, JournalsOfOthers) {
  const std::string strange = temporary.folder("strange");
  writeSong(strange + "/strange.mp3", {"Strange", "Stranger"});
  const auto journalOf = [&](const std::string& mountPoint, const std::string& earlier) {
    beginCase(earlier);
    sqlite3* reader = nullptr;
    sqlite3_open(database().c_str(), &reader);
    sqlite3_exec(reader, "PRAGMA journal_mode=WAL; BEGIN; SELECT * FROM sqlite_schema;", nullptr,
                 nullptr, nullptr);
    index(kDevice, mountPoint);
    const std::string log = contentOf(database() + "-wal");
    sqlite3_close(reader);
    EXPECT_GT(log.size(), kPageBytes);
    return log;
  };
  const std::string log = journalOf(strange, "");
  fs::remove_all(strange);
  const std::string own = journalOf(stick, indexedFile);
  run("log of another device", [&] { writeBytes(database() + "-wal", log); });
  run("half a log", [&] { writeBytes(database() + "-wal", own.substr(0, own.size() / 2)); });
  run("no log", [&] { writeBytes(database() + "-wal", std::string(100000, 'x')); });
  run("no index of a log", [&] { writeBytes(database() + "-shm", std::string(32768, 'x')); });
  run("no journal", [&] { writeBytes(database() + "-journal", std::string(100000, 'x')); });
}

TEST_F(DatabaseTrustTest, FoldersAndLinksInThePlaceOfFiles) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    const auto place = [&] { return database() + suffix; };
    run(
        std::string("folder") + suffix,
        [&] {
          fs::remove(place());
          fs::create_directories(place() + "/full");
        },
        [&] { fs::remove_all(place()); });
  }
  const std::string elsewhere = temporary.path("elsewhere.db");
  const auto linkTo = [&](const std::string& target) {
    return [this, target] {
      fs::remove(database());
      fs::create_symlink(target, database());
    };
  };
  run("link to nothing", linkTo(temporary.path("nothing.db")));
  EXPECT_FALSE(fs::exists(temporary.path("nothing.db")));
  run("link into a folder that is not there", linkTo(temporary.path("no/where.db")));
  run("link to itself", linkTo(database()));
  run("link to a device", linkTo("/dev/null"));
  fs::copy_file(indexedFile, elsewhere);
  run("link to a database", linkTo(elsewhere));
  EXPECT_EQ(contentOf(elsewhere), contentOf(indexedFile)) << "nothing is written through a link";
  run("nothing", [this] { fs::remove(database()); });
  run("empty file", [this] { writeBytes(database(), ""); });
}

TEST_F(DatabaseTrustTest, SizeLimit) {
  run("too large", [this] { fs::resize_file(database(), Limits().databaseBytes + 1); });
}

}  // namespace
}  // namespace orvel::test
