#include "isolation/worker/SystemCallFilter.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/futex.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <vector>

#include "isolation/WorkerProtocol.h"

namespace orvel {

namespace {

// Written by hand: a library to assemble these few instructions would be more code, and the worker
// would have to load it.

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__i386__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_I386;
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#elif defined(__arm__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_ARM;
#elif defined(__riscv) && __riscv_xlen == 64
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_RISCV64;
#else
/// Not known here: the process does without a filter.
constexpr std::uint32_t kArchitecture = 0;
#endif

/// Calls whose arguments do not matter: reading a descriptor, returning memory, ending the process.
constexpr std::uint32_t kAllowed[] = {
    __NR_pread64,
    __NR_close,
    __NR_brk,
    __NR_munmap,
    __NR_restart_syscall,
    __NR_exit,
    __NR_exit_group,
#ifdef __NR_gettimeofday
    // Where the processor's clock cannot be read without the kernel, as in many virtual machines.
    __NR_gettimeofday,
#endif
#ifdef ORVEL_SANITIZED
    // The sanitizers' own calls, for their reports as well.
    __NR_write,
    __NR_recvmsg,
    __NR_mremap,
    __NR_madvise,
    __NR_futex,
    __NR_clock_gettime,
    __NR_openat,
    __NR_read,
    __NR_readlinkat,
#ifdef __NR_readlink
    __NR_readlink,
#endif
    __NR_getpid,
    __NR_gettid,
    __NR_sched_yield,
    __NR_sigaltstack,
    __NR_rt_sigaction,
    __NR_rt_sigprocmask,
    __NR_mprotect,
    __NR_pipe2,
#endif
};

/// Calls that open a file by its name or ask about it.
constexpr std::uint32_t kNaming[] = {
#ifdef __NR_open
    __NR_open,
#endif
    __NR_openat,
#ifdef __NR_stat
    __NR_stat,       __NR_lstat,
#endif
#ifdef __NR_stat64
    __NR_stat64,     __NR_lstat64,
#endif
#ifdef __NR_newfstatat
    __NR_newfstatat,
#endif
#ifdef __NR_fstatat64
    __NR_fstatat64,
#endif
    __NR_statx,
#ifdef __NR_access
    __NR_access,
#endif
    __NR_faccessat,
#ifdef __NR_faccessat2
    __NR_faccessat2,
#endif
#ifdef __NR_readlink
    __NR_readlink,
#endif
    __NR_readlinkat,
};

#ifdef __NR_mmap2
constexpr std::uint32_t kMap = __NR_mmap2;
#else
constexpr std::uint32_t kMap = __NR_mmap;
#endif

#ifdef ORVEL_SANITIZED
constexpr std::uint32_t kRefusedMapFlags = 0;
#else
/// All but those with which a heap gets memory: no shared, fixed, locked or huge pages.
constexpr std::uint32_t kRefusedMapFlags =
    ~static_cast<std::uint32_t>(MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE);
#endif

/// Assembles the filter's program; see seccomp(2).
class Program {
 public:
  /// Ends a process of another architecture, then loads the number of the call.
  void begin() {
    load(offsetof(seccomp_data, arch));
    testEqual(kArchitecture, 1, 0);
    endProcess();
    load(offsetof(seccomp_data, nr));
  }
  /// Allows a call if its arguments pass `checks`, and ends the process otherwise.
  void allow(std::uint32_t call, const Program& checks = {}) {
    testEqual(call, 0, static_cast<std::uint8_t>(checks.code.size() + 1));
    code.insert(code.end(), checks.code.begin(), checks.code.end());
    add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  }
  /// Lets a call fail (EACCES).
  void refuse(std::uint32_t call) {
    testEqual(call, 0, 1);
    add(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EACCES);
  }
  void endProcess() { add(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS); }

  // Checks. Only the low half of an argument counts: the kernel takes no more of these.
  Program& isOneOf(std::size_t argument, std::initializer_list<std::uint32_t> values) {
    loadArgument(argument);
    auto others = static_cast<std::uint8_t>(values.size());
    for (const std::uint32_t value : values) testEqual(value, others--, 0);
    endProcess();
    return *this;
  }
  Program& hasNoneOf(std::size_t argument, std::uint32_t bits) {
    loadArgument(argument);
    add(BPF_JMP | BPF_JSET | BPF_K, bits, 0, 1);
    endProcess();
    return *this;
  }
  Program& has(std::size_t argument, std::uint32_t bit) {
    loadArgument(argument);
    add(BPF_JMP | BPF_JSET | BPF_K, bit, 1, 0);
    endProcess();
    return *this;
  }

  sock_fprog get() { return {static_cast<unsigned short>(code.size()), code.data()}; }

 private:
  void add(unsigned operation, std::uint32_t value, std::uint8_t skipIfTrue = 0,
           std::uint8_t skipIfFalse = 0) {
    code.push_back({static_cast<std::uint16_t>(operation), skipIfTrue, skipIfFalse, value});
  }
  void load(std::size_t offset) {
    add(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
  }
  void loadArgument(std::size_t number) {
    constexpr std::size_t kLowWord = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? 4 : 0;
    load(offsetof(seccomp_data, args) + number * sizeof(std::uint64_t) + kLowWord);
  }
  void testEqual(std::uint32_t value, std::uint8_t skipIfEqual, std::uint8_t skipIfNot) {
    add(BPF_JMP | BPF_JEQ | BPF_K, value, skipIfEqual, skipIfNot);
  }

  std::vector<sock_filter> code;
};

/// Calls whose arguments matter: the channels to the library, and those of the memory allocator and
/// of the clock, which can do more than these need.
void allowChecked(Program& program) {
  using namespace workerProtocol;
  program.allow(__NR_write, Program().isOneOf(0, {kControlSocket, kResultPipe}));
  program.allow(__NR_recvmsg, Program().isOneOf(0, {kControlSocket}));
  program.allow(__NR_mremap, Program().isOneOf(3, {0, MREMAP_MAYMOVE}));
  program.allow(__NR_madvise,
                Program().isOneOf(2, {MADV_DONTNEED, MADV_FREE, MADV_HUGEPAGE, MADV_NOHUGEPAGE}));
  program.allow(__NR_futex, Program().isOneOf(1, {FUTEX_WAIT_PRIVATE, FUTEX_WAKE_PRIVATE,
                                                  FUTEX_WAIT_BITSET_PRIVATE}));
  program.allow(__NR_clock_gettime, Program().isOneOf(0, {CLOCK_REALTIME, CLOCK_MONOTONIC}));
#ifdef __NR_clock_gettime64
  program.allow(__NR_clock_gettime64, Program().isOneOf(0, {CLOCK_REALTIME, CLOCK_MONOTONIC}));
#endif
}

Program readingOnly(bool refusesNames) {
  Program program;
  program.begin();
  for (const std::uint32_t call : kAllowed) program.allow(call);
  if (refusesNames) {
    for (const std::uint32_t call : kNaming) program.refuse(call);
  }
  // Memory, but neither files nor executable pages.
  program.allow(
      kMap, Program().hasNoneOf(2, PROT_EXEC).hasNoneOf(3, kRefusedMapFlags).has(3, MAP_ANONYMOUS));
  allowChecked(program);
  program.endProcess();
  return program;
}

bool seccomp(sock_fprog program, unsigned flags) {
  return syscall(__NR_seccomp, SECCOMP_SET_MODE_FILTER, flags, &program) == 0;
}

}  // namespace

int allowOnlyReading(bool refusesNames, bool avoidSeccomp) {
  if (kArchitecture == 0) return ENOTSUP;
  Program program = readingOnly(refusesNames);
  sock_fprog code = program.get();
  // Prefers a filter without the costly mitigation of speculative execution: the process holds no
  // secrets. A host's own filter may know the older of the two calls only.
  const bool isBound =
      (!avoidSeccomp && (seccomp(code, SECCOMP_FILTER_FLAG_SPEC_ALLOW) || seccomp(code, 0))) ||
      prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &code) == 0;
  return isBound ? 0 : errno;
}

}  // namespace orvel
