#include "isolation/worker/Confinement.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>

#include "base/Descriptor.h"
#include "isolation/worker/SystemCallFilter.h"

namespace orvel {

namespace {

/// The same as a mining stage has, because nested containers make the parser recurse deeply.
constexpr rlim_t kStackBytes = rlim_t{8} << 20;
/// For all files together; the library then starts a fresh worker. It times each file itself.
constexpr rlim_t kProcessorSeconds = 60;
/// The standard ones, the channels, one request's files and a few to spare.
constexpr rlim_t kDescriptors = 8 + workerProtocol::kMostDescriptors;

template <class Resource>
void limit(Resource resource, rlim_t soft, rlim_t hard) {
  rlimit current{};
  getrlimit(resource, &current);
  const rlimit wanted{std::min(soft, current.rlim_max), std::min(hard, current.rlim_max)};
  setrlimit(resource, &wanted);
}

void setLimits([[maybe_unused]] const ParserNeeds& needs) {
  limit(RLIMIT_CORE, 0, 0);
  limit(RLIMIT_FSIZE, 0, 0);
  limit(RLIMIT_NPROC, 0, 0);
  limit(RLIMIT_MEMLOCK, 0, 0);
  limit(RLIMIT_NOFILE, kDescriptors, kDescriptors);
  limit(RLIMIT_STACK, kStackBytes, kStackBytes);
  limit(RLIMIT_CPU, kProcessorSeconds, kProcessorSeconds + 1);
#ifndef ORVEL_SANITIZED
  // Sanitizers reserve terabytes of address space.
  const auto bytes = static_cast<rlim_t>(needs.memoryBytes);
  limit(RLIMIT_AS, bytes, bytes);
#endif
}

/// Gives up every capability for good. As root, they would lift many a limit of the others.
void dropCapabilities() {
  prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
  for (int capability = 0; prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) == 0;) ++capability;
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
  syscall(SYS_capset, &header, none.data());
}

/// Only the library ends this process. A signal that a service manager sends to all processes of
/// the host would be blamed on the current file.
void ignoreSignals() {
  for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE}) std::signal(number, SIG_IGN);
}

/// Makes the kernel kill this process before the host when memory is short.
void volunteerForOutOfMemory() {
  const Descriptor score(open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
  if (score) [[maybe_unused]]
    const ssize_t written = write(score.get(), "1000", 4);
}

/// Denies every access to files by name, independently of the system-call filter. Returns 0 or the
/// error number. See landlock(7).
int denyFiles() {
  const long version =
      syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) return errno;
  /// Number of access rights that each version of the interface knows.
  constexpr std::array<unsigned, 5> kKinds = {13, 14, 15, 15, 16};
  const std::size_t known = std::min<std::size_t>(static_cast<std::size_t>(version), kKinds.size());
  landlock_ruleset_attr denied{};
  denied.handled_access_fs = (std::uint64_t{1} << kKinds.at(known - 1)) - 1;
  const Descriptor rules(static_cast<int>(
      syscall(SYS_landlock_create_ruleset, &denied, sizeof denied.handled_access_fs, 0)));
  const bool isBound = rules && syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0;
  return isBound ? 0 : errno;
}

/// True when a child of this process that takes `step` lives on: the host's own filter allows it.
template <class Step>
bool survives(Step step) {
  const pid_t child = fork();
  if (child == 0) {
    limit(RLIMIT_CORE, 0, 0);
    step();
    _exit(0);
  }
  int status = 0;
  return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status);
}

}  // namespace

workerProtocol::Confinement confineProcess(const ParserNeeds& needs, bool carefully) {
  dropCapabilities();
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  ignoreSignals();
  volunteerForOutOfMemory();
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  // Before the limits, which allow no child.
  const bool mayDenyFiles = !carefully || survives(denyFiles);
  const auto filter = [&](bool avoidSeccomp) {
    return allowOnlyReading(needs.looksForFiles, avoidSeccomp);
  };
  const bool avoidSeccomp = carefully && !survives([&] { filter(false); });
  const bool mayFilter = !avoidSeccomp || survives([&] { filter(true); });
  setLimits(needs);
  workerProtocol::Confinement confinement;
  confinement.landlockError = mayDenyFiles ? denyFiles() : EPERM;
  confinement.filterError = mayFilter ? filter(avoidSeccomp) : EPERM;
  return confinement;
}

}  // namespace orvel
