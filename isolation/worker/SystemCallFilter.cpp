#include "isolation/worker/SystemCallFilter.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

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
#error "Name this architecture as <linux/audit.h> does."
#endif

/// The calls of the worker's loop, of the memory allocator and of the end of the process.
constexpr std::uint32_t kAllowed[] = {
    __NR_pread64,
    __NR_write,
    __NR_recvmsg,
    __NR_sendmsg,
    __NR_close,
    __NR_brk,
    __NR_munmap,
    __NR_mremap,
    __NR_madvise,
    __NR_futex,
    __NR_clock_gettime,
#ifdef __NR_clock_gettime64
    __NR_clock_gettime64,
#endif
    __NR_restart_syscall,
    __NR_exit,
    __NR_exit_group,
#ifdef ORVEL_SANITIZED
    // The sanitizers' own calls, for their reports as well.
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

constexpr std::uint32_t argument(std::size_t number) {
  constexpr std::uint32_t kLowWord = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? 4 : 0;
  return static_cast<std::uint32_t>(offsetof(seccomp_data, args) + number * sizeof(std::uint64_t)) +
         kLowWord;
}

/// Assembles the filter's program; see seccomp(2).
class Program {
 public:
  void load(std::uint32_t offset) { add(BPF_LD | BPF_W | BPF_ABS, offset); }
  void loadCall() { load(offsetof(seccomp_data, nr)); }
  void loadArchitecture() { load(offsetof(seccomp_data, arch)); }
  void allow() { add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW); }
  void refuse() { add(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EACCES); }
  void endProcess() { add(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS); }
  /// Skips this many instructions when the loaded value equals `value`, and when it does not.
  void testEqual(std::uint32_t value, std::uint8_t skipIfEqual, std::uint8_t skipIfNot) {
    add(BPF_JMP | BPF_JEQ | BPF_K, value, skipIfEqual, skipIfNot);
  }
  /// Skips this many instructions when the loaded value has any of `bits`, and when it has none.
  void testBits(std::uint32_t bits, std::uint8_t skipIfAny, std::uint8_t skipIfNone) {
    add(BPF_JMP | BPF_JSET | BPF_K, bits, skipIfAny, skipIfNone);
  }

  sock_fprog get() { return {static_cast<unsigned short>(code.size()), code.data()}; }

 private:
  void add(unsigned operation, std::uint32_t value, std::uint8_t ifTrue = 0,
           std::uint8_t ifFalse = 0) {
    code.push_back({static_cast<std::uint16_t>(operation), ifTrue, ifFalse, value});
  }

  std::vector<sock_filter> code;
};

Program readingOnly(bool refusesNames) {
  Program program;
  program.loadArchitecture();
  program.testEqual(kArchitecture, 1, 0);
  program.endProcess();
  program.loadCall();
  for (const std::uint32_t call : kAllowed) {
    program.testEqual(call, 0, 1);
    program.allow();
  }
  for (const std::uint32_t call : refusesNames ? std::span(kNaming) : std::span(kNaming, 0)) {
    program.testEqual(call, 0, 1);
    program.refuse();
  }
  // Allows mapping memory, but neither files nor executable pages.
  program.testEqual(kMap, 0, 5);
  program.load(argument(2));
  program.testBits(PROT_EXEC, 3, 0);
  program.load(argument(3));
  program.testBits(MAP_ANONYMOUS, 0, 1);
  program.allow();
  program.endProcess();
  return program;
}

bool install(sock_fprog program, unsigned flags) {
  return syscall(__NR_seccomp, SECCOMP_SET_MODE_FILTER, flags, &program) == 0;
}

}  // namespace

bool allowOnlyReading(bool refusesNames) {
  Program program = readingOnly(refusesNames);
  // Prefers a filter without the costly mitigation of speculative execution: the process holds no
  // secrets.
  return install(program.get(), SECCOMP_FILTER_FLAG_SPEC_ALLOW) || install(program.get(), 0);
}

}  // namespace orvel
