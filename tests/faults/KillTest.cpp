#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <system_error>
#include <thread>

#include "tests/endtoend/Song.h"
#include "tests/faults/Contents.h"
#include "tests/faults/OpenedFiles.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/Effort.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::microseconds;

constexpr char kDevice[] = "dev1";
constexpr int kSongs = 2000;
constexpr int kFolders = 20;

/// The command line as a child process, which is killed with its object.
class IndexingChild {
 public:
  explicit IndexingChild(std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const int error = posix_spawn(&id, pointers[0], nullptr, nullptr, pointers.data(), environ);
    if (error != 0) throw std::system_error(error, std::generic_category(), arguments[0]);
  }
  ~IndexingChild() { kill(); }
  IndexingChild(const IndexingChild&) = delete;
  IndexingChild& operator=(const IndexingChild&) = delete;

  /// True once the child has come to its end by itself.
  bool hasEnded() {
    if (!ending) {
      int status = 0;
      if (waitpid(id, &status, WNOHANG) == id) ending = status;
    }
    return ending.has_value();
  }
  void kill() {
    if (hasEnded()) return;
    ::kill(id, SIGKILL);
    int status = 0;
    waitpid(id, &status, 0);
    ending = status;
  }
  [[nodiscard]] int status() const { return *ending; }

 private:
  pid_t id = 0;
  std::optional<int> ending;
};

/// A stick of 2000 songs, and the command line that is killed again and again while it indexes it.
class KillTest : public DatabaseFolderFixture {
 protected:
  /// When a child is to be killed: asked again and again while it runs.
  using Moment = std::function<bool()>;

  KillTest() {
    // Readers of tags whose parent was killed become children of this process.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    constexpr int kDifferent = 40;
    for (int i = 0; i < kDifferent; ++i) {
      const std::string n = std::to_string(i);
      writeSong(song(i), {"Title " + n, "Artist " + n, "Album " + n, "Genre " + n});
    }
    for (int i = 0; i < kSongs; ++i) {
      const std::string folder = temporary.folder("stick/" + std::to_string(i % kFolders));
      fs::create_hard_link(song(i % kDifferent), folder + "/" + std::to_string(i) + ".mp3");
      if (i < kFolders) opened.watch(folder);
    }
    for (int i = 0; i < 5; ++i) {
      const std::string n = std::to_string(i);
      temporary.file("stick/list" + n + ".m3u", n + "/" + n + ".mp3\n0/20.mp3\n1/21.mp3\n");
    }
  }

  std::string song(int i) const { return temporary.path("songs/" + std::to_string(i) + ".mp3"); }

  void beginDatabase() {
    fs::remove_all(manager.directory());
    manager.setDirectory(temporary.folder("db" + std::to_string(++databases)));
    songs.clear();
  }

  /// One run; true when it came to its end before the moment did.
  bool run(const Moment& moment) {
    std::vector<std::string> arguments = {ORVEL_COMMAND,       "index",       "-q",   "--db-dir",
                                          manager.directory(), "--device-id", kDevice};
    if (++runs % 2 == 0) arguments.emplace_back("--in-process");
    arguments.push_back(temporary.path("stick"));
    opened.take();
    bool ended = false;
    {
      IndexingChild child(std::move(arguments));
      while (!(ended = child.hasEnded()) && !moment()) {
        std::this_thread::sleep_for(Microseconds(20));
      }
      child.kill();
      EXPECT_TRUE(!ended || child.status() == 0);
    }
    expectNoChild();
    expectNoneReadAgain();
    expectNothingLost();
    return ended;
  }

  /// The process that reads tags ends with the one that it reads for.
  static void expectNoChild() {
    EXPECT_TRUE(waitUntil([] { return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD; }));
  }

  void expectNoneReadAgain() {
    const auto read = opened.take();
    lastRead = read.size();
    for (const std::string& path : read) {
      EXPECT_EQ(songs.count(path), 0U) << path << " was in the database and was read again";
    }
  }

  /// Looks at copies: whoever opens the files themselves does the next run's recovery for it.
  void expectNothingLost() {
    if (!fs::exists(database())) return;
    const std::string copy = temporary.folder("copy") + "/copied.db";
    for (const char* journal : {"", "-wal", "-journal"}) {
      fs::remove(copy + journal);
      if (fs::exists(database() + journal)) fs::copy_file(database() + journal, copy + journal);
    }
    fs::remove(copy + "-shm");
    EXPECT_EQ(integrityOf(copy), "ok");
    if (rows(copy, "PRAGMA user_version;").front() == "0") return;
    std::map<std::string, std::string> stored;
    for (const std::string& row : rows(copy, "SELECT ID || '|' || PATH FROM SONGS;")) {
      stored.emplace(row.substr(row.find('|') + 1), row.substr(0, row.find('|')));
    }
    for (const auto& [path, id] : songs) EXPECT_EQ(stored[path], id) << path;
    songs = std::move(stored);
  }

  std::string database() const { return databaseOf(kDevice); }

  OpenedFiles opened;
  std::map<std::string, std::string> songs;  ///< committed songs by path, with their row ids
  std::size_t lastRead = 0;                  ///< how many files of songs the last run opened
  int databases = 0;
  int runs = 0;
};

TEST_F(KillTest, KilledAtAnyMomentNothingIsLostAndNothingIsReadAgain) {
  if (kIsSanitized) GTEST_SKIP() << "a process that is killed tells the sanitizers nothing";
  std::mt19937_64 random = seededRandom();
  const auto below = [&](auto limit) {
    return std::uniform_int_distribution<long>(0, static_cast<long>(limit))(random);
  };
  const auto uninterrupted = [&] {
    beginDatabase();
    const auto begin = Clock::now();
    EXPECT_TRUE(run([] { return false; }));
    EXPECT_EQ(lastRead, static_cast<std::size_t>(kSongs));
    EXPECT_EQ(songs.size(), static_cast<std::size_t>(kSongs));
    return Clock::now() - begin;
  };
  const auto whole =
      std::chrono::duration_cast<Microseconds>(std::min(uninterrupted(), uninterrupted()));
  const auto expected = contentsOf(database());
  const auto bytes = fs::file_size(database());

  const long wanted = casesOf(100, 5000);
  long kills = 0;
  long inCheckpoints = 0;
  const auto moment = [&](bool inCheckpoint) -> Moment {
    if (!inCheckpoint) {
      return
          [end = Clock::now() + Microseconds(below(whole.count()))] { return Clock::now() > end; };
    }
    // The log is moved into the database, which grows by that.
    std::error_code missing;
    const auto now = fs::file_size(database(), missing);
    const auto size = missing ? below(bytes) : static_cast<long>(now) + below(bytes / 4);
    return [this, size] {
      std::error_code none;
      const auto grown = fs::file_size(database(), none);
      return !none && static_cast<long>(grown) > size;
    };
  };
  while (kills < wanted && !HasFailure()) {
    beginDatabase();
    bool ended = false;
    while (!ended && !HasFailure()) {
      const bool inCheckpoint = kills < wanted && below(3) == 0;
      ended = run(kills < wanted ? moment(inCheckpoint) : Moment([] { return false; }));
      kills += ended ? 0 : 1;
      inCheckpoints += !ended && inCheckpoint ? 1 : 0;
    }
    EXPECT_EQ(contentsOf(database()), expected);
  }
  std::printf(
      "%ld kills, %ld of them in checkpoints, of %d runs on %d databases; a run takes %ld ms\n",
      kills, inCheckpoints, runs, databases, static_cast<long>(whole.count() / 1000));
}

}  // namespace
}  // namespace orvel::test
