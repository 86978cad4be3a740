#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/futex.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "isolation/worker/Confinement.h"
#include "tags/isolation/IsolatedTagReader.h"
#include "tests/endtoend/Song.h"
#include "tests/support/Effort.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TemporaryFolder.h"

namespace orvel::test {
namespace {

using testing::Each;
using testing::HasSubstr;
using testing::SizeIs;

/// How a process ends that confines itself as the reader does and then attempts an escape; nothing
/// where the kernel has no filter.
std::optional<int> endOf(const std::function<void()>& escape) {
  constexpr int kUnfiltered = 77;
  const pid_t child = fork();
  if (child == 0) {
    if (confineProcess({}, false).filterError != 0) _exit(kUnfiltered);
    escape();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == kUnfiltered) return std::nullopt;
  return status;
}

class Escape : public testing::Test {
 protected:
  void SetUp() override {
    if (kIsSanitized || !endOf([] {})) GTEST_SKIP() << "no filter, or one for sanitizers";
  }
};

TEST_F(Escape, ByAnyOtherCallEndsTheProcess) {
  std::set<long> allowed = {SYS_pread64,         SYS_close,  SYS_brk,           SYS_munmap,
                            SYS_restart_syscall, SYS_mremap, SYS_clock_gettime, SYS_exit,
                            SYS_exit_group};
#ifdef SYS_clock_gettime64
  allowed.insert(SYS_clock_gettime64);
#endif
#ifdef SYS_gettimeofday
  allowed.insert(SYS_gettimeofday);
#endif
#ifdef __x86_64__
  allowed.insert({335, 336});  // of probes in user space: new kernels keep filters off them
#endif
  constexpr long kLastCall = 500;
  for (long call = 0; call <= kLastCall; ++call) {
    const int end = endOf([call] { syscall(call, 0, 0, 0, 0, 0, 0); }).value();
    EXPECT_TRUE(allowed.contains(call) || (WIFSIGNALED(end) && WTERMSIG(end) == SIGSYS)) << call;
  }
}

TEST_F(Escape, ByArgumentsEndsTheProcess) {
  struct Attempt {
    const char* name;
    bool isAllowed;
    std::function<void()> escape;
  };
  constexpr std::size_t kPage = 4096;
  const auto map = [](int protection, int flags, int file = -1) {
    return [=] {
      void* const where = (flags & MAP_FIXED) != 0 ? reinterpret_cast<void*>(kPage) : nullptr;
      mmap(where, kPage, protection, flags, file, 0);
    };
  };
  constexpr int kMemory = MAP_PRIVATE | MAP_ANONYMOUS;
  int word = 0;
  void* const pages = mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, kMemory, -1, 0);
  const std::vector<Attempt> attempts = {
      {"memory", true, map(PROT_READ | PROT_WRITE, kMemory)},
      {"code", false, map(PROT_READ | PROT_EXEC, kMemory)},
      {"a file's memory", false, map(PROT_READ, MAP_PRIVATE, 3)},
      {"shared memory", false, map(PROT_READ, MAP_SHARED | MAP_ANONYMOUS)},
      {"the first page", false, map(PROT_READ, kMemory | MAP_FIXED)},
      {"locked memory", false, map(PROT_READ, kMemory | MAP_LOCKED)},
      {"huge pages", false, map(PROT_READ, kMemory | MAP_HUGETLB)},
      {"grow", true, [=] { (void)mremap(pages, kPage, kPage * 8, MREMAP_MAYMOVE); }},
      {"move over", false,
       [=] { (void)mremap(pages, kPage, kPage, MREMAP_MAYMOVE | MREMAP_FIXED, pages); }},
      {"give back", true, [=] { madvise(pages, kPage, MADV_DONTNEED); }},
      {"poison", false, [=] { madvise(pages, kPage, MADV_HWPOISON); }},
      {"merge", false, [=] { madvise(pages, kPage, MADV_MERGEABLE); }},
      {"wake", true, [&] { syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1); }},
      {"wake others", false, [&] { syscall(SYS_futex, &word, FUTEX_WAKE, 1); }},
      {"requeue", false,
       [&] { syscall(SYS_futex, &word, FUTEX_CMP_REQUEUE_PI_PRIVATE, 1, 1, &word, 0); }},
#ifdef SYS_gettimeofday
      {"the time", true, [] { syscall(SYS_gettimeofday, nullptr, nullptr); }},
#endif
      {"clock of another", false, [&] { syscall(SYS_clock_gettime, ~1 << 3 | 2, nullptr); }},
      {"write to a file", false, [] { (void)!write(6, "x", 1); }},
      {"hear another socket", false, [] { recvmsg(5, nullptr, 0); }},
  };
  for (const Attempt& attempt : attempts) {
    const int end = endOf(attempt.escape).value();
    EXPECT_EQ(WIFSIGNALED(end) && WTERMSIG(end) == SIGSYS, !attempt.isAllowed) << attempt.name;
    EXPECT_TRUE(!attempt.isAllowed || end == 0) << attempt.name << ": " << end;
  }
  munmap(pages, 2 * kPage);
}

/// Binds this thread, and the processes that it starts, to a filter as a service's unit has one.
bool filterCalls(const std::vector<int>& calls, std::uint32_t action) {
  std::vector<sock_filter> code = {{BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)}};
  for (const int call : calls) {
    code.push_back({BPF_JMP | BPF_JEQ | BPF_K, 0, 1, static_cast<std::uint32_t>(call)});
    code.push_back({BPF_RET | BPF_K, 0, 0, action});
  }
  code.push_back({BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW});
  const sock_fprog program{static_cast<unsigned short>(code.size()), code.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

constexpr std::uint32_t kKill = SECCOMP_RET_KILL_PROCESS;
constexpr std::uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;
constexpr std::uint32_t kUnknown = SECCOMP_RET_ERRNO | ENOSYS;
constexpr int kLandlock = SYS_landlock_create_ruleset;

struct HostFilter {
  std::vector<int> calls;
  std::uint32_t action;
  Confinement left;
  bool isEnough;  ///< where isolation is required
  std::string warning;
};

TEST(FilterOfTheHost, CostsNoMoreThanTheLayerThatItForbids) {
  if (kIsSanitized || !endOf([] {})) GTEST_SKIP() << "no filter, or one for sanitizers";
  const std::string refusedLandlock = "no Landlock: Operation not permitted";
  const std::vector<HostFilter> filters = {
      {{}, kKill, Confinement::FilterAndLandlock, true, ""},
      {{kLandlock}, kKill, Confinement::Filter, false, refusedLandlock},
      {{SYS_seccomp}, kKill, Confinement::FilterAndLandlock, true, ""},
      {{kLandlock, SYS_seccomp}, kKill, Confinement::Filter, false, refusedLandlock},
      {{SYS_landlock_restrict_self}, kRefuse, Confinement::Filter, false, refusedLandlock},
      {{SYS_seccomp, SYS_prctl},
       kRefuse,
       Confinement::Process,
       false,
       "no filter of system calls: Operation not permitted"},
      {{kLandlock}, kUnknown, Confinement::Filter, true, "no Landlock: Function not implemented"}};
  const TemporaryFolder temporary;
  const std::string song = temporary.path("a.mp3");
  writeSong(song, {"Title", "X"});
  for (const HostFilter& filter : filters) {
    const LogCapture log;
    const auto readUnder = [&](TagReading policy) {
      std::optional<Confinement> confinement;
      std::jthread([&] {
        if (!filterCalls(filter.calls, filter.action)) return;
        IsolatedTagReader reader({}, ORVEL_TAG_READER, policy);
        reader.expect(temporary.path(), {song});
        const bool isRead = reader.next(song).outcome == TagResult::Outcome::Tagged;
        if (isRead) confinement = reader.confinement();
      }).join();
      return confinement;
    };
    SCOPED_TRACE(testing::PrintToString(filter.calls) + filter.warning);
    EXPECT_EQ(readUnder(TagReading::Isolated), filter.left);
    const auto warnings = log.texts("less isolated than it could be");
    EXPECT_THAT(warnings, SizeIs(filter.warning.empty() ? 0 : 1));
    EXPECT_THAT(warnings, Each(HasSubstr(filter.warning)));
    EXPECT_EQ(readUnder(TagReading::IsolationRequired).has_value(), filter.isEnough);
  }
}

}  // namespace
}  // namespace orvel::test
