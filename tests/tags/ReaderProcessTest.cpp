#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <semaphore>
#include <sstream>
#include <thread>

#include "base/StageThread.h"
#include "tags/isolation/IsolatedTagReader.h"
#include "tests/endtoend/Song.h"
#include "tests/support/Effort.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessPriority.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/contentOf.h"
#include "tests/support/processStatus.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr milliseconds kEndless{std::chrono::hours(1)};

/// The fields of /proc/PID/stat after the name: state, parent, process group, ...
std::vector<std::string> statOf(const std::string& process) {
  const std::string stat = contentOf("/proc/" + process + "/stat");
  std::istringstream fields(stat.substr(std::min(stat.size(), stat.rfind(')') + 1)));
  return {std::istream_iterator<std::string>(fields), {}};
}

/// Children of a process, dead ones included.
std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    const auto fields = statOf(name);
    if (fields.size() > 1 && fields[1] == std::to_string(parent)) {
      children.push_back(std::stoi(name));
    }
  }
  return children;
}

/// The worker of an isolated reader, seen from its host.
class ReaderProcess : public testing::Test {
 protected:
  std::unique_ptr<IsolatedTagReader> readerOf(milliseconds timeLimit) const {
    return std::make_unique<IsolatedTagReader>(stop.get_token(), ORVEL_HOSTILE_TAG_READER,
                                               TagReading::Isolated,
                                               std::make_shared<TagReaderPatience>(timeLimit));
  }

  std::string good() const {
    const std::string path = temporary.path("good.mp3");
    if (!fs::exists(path)) writeSong(path, {"Good", "X"});
    return path;
  }
  std::string bad(const std::string& deed) const {
    return temporary.file(deed + ".mp3", "!" + deed + ".");
  }

  static std::string titleOf(const TagResult& read) { return read.values.title.to8Bit(true); }

  /// Starts a worker, has it hang, inspects the process with `look`, and ends it.
  template <class Look>
  void whileReaderHangs(Look look) {
    const auto reader = readerOf(kEndless);
    std::binary_semaphore isUp(0);
    std::jthread reading([&] {
      reader->expect(temporary.path(), {good(), bad("hang")});
      EXPECT_EQ(titleOf(reader->next(good())), "Good");
      isUp.release();
      reader->next(bad("hang"));
    });
    isUp.acquire();
    const auto children = childrenOf(getpid());
    EXPECT_THAT(children, SizeIs(1));
    if (!children.empty()) look(children.front());
    stop.request_stop();
  }

  const LogCapture log;
  std::stop_source stop;
  TemporaryFolder temporary;
};

TEST_F(ReaderProcess, NothingIsLeftBehindAfterManyRestarts) {
  const long before = entriesOf("/proc/self/fd");
  {
    const auto reader = readerOf(kEndless);
    reader->expect(temporary.path(), std::vector<std::string>(60, bad("crash")));
    for (int i = 0; i < 60; ++i) {
      EXPECT_EQ(reader->next(bad("crash")).outcome, TagResult::Outcome::Unreadable);
    }
    reader->expect(temporary.path(), {good()});
    EXPECT_EQ(titleOf(reader->next(good())), "Good");
    EXPECT_THAT(childrenOf(getpid()), SizeIs(1));
  }
  EXPECT_EQ(entriesOf("/proc/self/fd"), before);
  EXPECT_THAT(childrenOf(getpid()), IsEmpty());
}

TEST_F(ReaderProcess, HasNothingOfTheHostsAndIsBound) {
  const Descriptor inherited(open("/etc/passwd", O_RDONLY));
  setenv("ORVEL_TEST_SECRET", "secret", 1);
  whileReaderHangs([](pid_t process) {
    const std::string folder = "/proc/" + std::to_string(process);
    EXPECT_EQ(contentOf(folder + "/environ").find("SECRET"), std::string::npos);
    for (const auto& entry : fs::directory_iterator(folder + "/fd")) {
      std::error_code ignored;
      EXPECT_NE(fs::read_symlink(entry.path(), ignored), "/etc/passwd") << entry.path();
    }
    EXPECT_EQ(statOf(std::to_string(process)).at(2), std::to_string(process)) << "process group";
    const std::string status = contentOf(folder + "/status");
    EXPECT_NE(status.find("NoNewPrivs:\t1"), std::string::npos) << status;
    EXPECT_TRUE(kIsEmulated || status.find("Seccomp:\t2") != std::string::npos) << status;
    for (const char* set : {"Inh", "Prm", "Eff", "Amb", getuid() == 0 ? "Bnd" : "Amb"}) {
      const std::string none = std::string("Cap") + set + ":\t0000000000000000\n";
      EXPECT_NE(status.find(none), std::string::npos) << set << "\n" << status;
    }
    const std::string limits = contentOf(folder + "/limits");
    EXPECT_NE(limits.find("Max locked memory         0 "), std::string::npos) << limits;
    EXPECT_NE(limits.find("Max file size             0 "), std::string::npos) << limits;
    EXPECT_NE(limits.find("Max core file size        0 "), std::string::npos) << limits;
    EXPECT_NE(limits.find("Max open files            24 "), std::string::npos) << limits;
  });
}

/// 32 MiB of a file that only the library can read, beginning with a deed.
class AskedFile : public TagStream {
 public:
  explicit AskedFile(const std::string& deed) : TagStream(deed + ".mp3", {}), head("!" + deed) {
    setSize(32 << 20);
  }
  bool isOpen() const override { return true; }
  long readAt(std::int64_t start, char* target, long length) override {
    std::fill(target, target + length, '.');
    if (start == 0) head.copy(target, static_cast<std::size_t>(length));
    return length;
  }

 private:
  std::string head;
};

TEST_F(ReaderProcess, WhatItAsksForIsBounded) {
  const auto reader = readerOf(kEndless);
  const PeakMemory peak;
  for (const auto& [deed, reason] :
       {std::pair("ask", "without taking"), {"asktake", "more bytes"}}) {
    AskedFile file(deed);
    EXPECT_EQ(reader->read(file).outcome, TagResult::Outcome::Unreadable);
    EXPECT_THAT(log.texts(std::string("for track: ") + deed), ElementsAre(HasSubstr(reason)));
  }
  EXPECT_LT(peak.mebibytes(), 16);
  reader->expect(temporary.path(), {good()});
  EXPECT_EQ(titleOf(reader->next(good())), "Good");
}

TEST_F(ReaderProcess, OthersThatEndItAreNotBlamedOnTheFile) {
  const auto reader = readerOf(kEndless);
  reader->expect(temporary.path(), std::vector<std::string>(200, good()));
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(titleOf(reader->next(good())), "Good") << i;
    // A service manager asks all of a service's processes to end; the kernel kills when memory is
    // short.
    if (i % 20 == 5) kill(childrenOf(getpid()).at(0), i % 40 == 5 ? SIGTERM : SIGKILL);
  }
}

TEST_F(ReaderProcess, FilesKeepTheirOwnTagsWhenOneAppearsAfterItWasFirstOpened) {
  const std::string late = temporary.path("late.mp3");
  const auto reader = readerOf(kEndless);
  reader->expect(temporary.path(), {good(), bad("crash"), late, good()});
  EXPECT_EQ(titleOf(reader->next(good())), "Good");
  writeSong(late, {"Late", "X"});
  EXPECT_EQ(reader->next(bad("crash")).outcome, TagResult::Outcome::Unreadable);
  EXPECT_EQ(titleOf(reader->next(late)), "Late") << "opened again for the next process";
  EXPECT_EQ(titleOf(reader->next(good())), "Good");
}

extern "C" void reapEveryChild(int /*signal*/) {
  const int before = errno;
  while (waitpid(-1, nullptr, WNOHANG) > 0) {
  }
  errno = before;
}

TEST_F(ReaderProcess, WorksWhateverTheHostDoesWithItsChildren) {
  const auto readSome = [&] {
    const auto reader = readerOf(kEndless);
    const std::vector<std::string> paths = {good(), bad("crash"), good(), bad("exit"), good()};
    reader->expect(temporary.path(), paths);
    std::vector<std::string> read;
    for (const std::string& path : paths) read.push_back(titleOf(reader->next(path)));
    EXPECT_THAT(read, ElementsAre("Good", "", "Good", "", "Good"));
  };
  std::signal(SIGCHLD, SIG_IGN);
  readSome();
  std::signal(SIGCHLD, reapEveryChild);
  readSome();
  std::signal(SIGCHLD, SIG_DFL);
  const pid_t other = fork();
  if (other == 0) _exit(42);
  readSome();
  int status = 0;
  ASSERT_EQ(waitpid(other, &status, 0), other) << "the host's own child was taken";
  EXPECT_EQ(WEXITSTATUS(status), 42);
}

}  // namespace
}  // namespace orvel::test
