#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/endtoend/Song.h"
#include "tests/faults/Contents.h"
#include "tests/faults/FaultStick.h"
#include "tests/support/Effort.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPageBytes = 4096;

std::string bytesOf(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

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
    beforeChange = indexFresh(indexed);
    pages = bytesOf(indexed);
    writeSong(stick + "/new.mp3", {"New", "New artist"});
    fs::remove(stick + "/folder 3/3.mp3");
    afterChange = indexFresh();
    fs::rename(stick + "/new.mp3", temporary.path("new.mp3"));
    fs::rename(temporary.path("new.mp3"), stick + "/new.mp3");
  }

  /// A request after the damage, and one or two that mend it.
  void run(const std::string& name, const Deed& damage, const Deed& undo = [] {}) {
    SCOPED_TRACE(name);
    beginCase(indexed);
    damage();
    start(kDevice, stick);
    EXPECT_TRUE(waitUntilEnded());
    const bool told = progress().status == "OK" || manager.getStatus(kDevice, stick) == "OK";
    if (told) {
      const auto found = readable();
      if (found != afterChange) ++lies;
      EXPECT_EQ(found, afterChange);
    }
    undo();
    index(kDevice, stick);
    if (manager.getStatus(kDevice, stick) != "OK") index(kDevice, stick);
    EXPECT_EQ(manager.getStatus(kDevice, stick), "OK");
    EXPECT_EQ(readable(), afterChange);
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
    std::string damaged = pages;
    damaged.replace((page - 1) * kPageBytes, kPageBytes, with);
    writeBytes(database(), damaged);
  }

  const std::string indexed = temporary.path("indexed.db");
  std::vector<std::string> beforeChange;
  std::vector<std::string> afterChange;
  std::string pages;
  int cases = 0;
  int lies = 0;
};

TEST_F(DatabaseTrustTest, DamagedPages) {
  std::mt19937_64 random = seededRandom();
  const long last = static_cast<long>(pages.size() / kPageBytes);
  const std::string zeros(kPageBytes, '\0');
  std::printf("%ld pages\n", last);
  for (const long page : spread(last, casesOf(1000, last), random)) {
    std::string noise(kPageBytes, '\0');
    for (char& byte : noise) byte = static_cast<char>(random());
    const long other = 1 + static_cast<long>(random() % static_cast<unsigned long>(last));
    const std::string name = "page " + std::to_string(page);
    run(name + " noise", [&] { replacePage(page, noise); });
    run(name + " zeros", [&] { replacePage(page, zeros); });
    run(name + " is page " + std::to_string(other),
        [&] { replacePage(page, pages.substr((other - 1) * kPageBytes, kPageBytes)); });
  }
  std::printf("%d cases %d lies\n", cases, lies);
}

}  // namespace
}  // namespace orvel::test
