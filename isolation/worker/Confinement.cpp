#include "isolation/worker/Confinement.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
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
  limit(RLIMIT_NOFILE, kDescriptors, kDescriptors);
  limit(RLIMIT_STACK, kStackBytes, kStackBytes);
  limit(RLIMIT_CPU, kProcessorSeconds, kProcessorSeconds + 1);
#ifndef ORVEL_SANITIZED
  // Sanitizers reserve terabytes of address space.
  const auto bytes = static_cast<rlim_t>(needs.memoryBytes);
  limit(RLIMIT_AS, bytes, bytes);
#endif
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

/// Denies every access to files by name, independently of the system-call filter. See landlock(7).
bool denyFiles() {
  const long version =
      syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) return false;
  /// Number of access rights that each version of the interface knows.
  constexpr std::array<unsigned, 5> kKinds = {13, 14, 15, 15, 16};
  const std::size_t known = std::min<std::size_t>(static_cast<std::size_t>(version), kKinds.size());
  landlock_ruleset_attr denied{};
  denied.handled_access_fs = (std::uint64_t{1} << kKinds.at(known - 1)) - 1;
  const Descriptor rules(static_cast<int>(
      syscall(SYS_landlock_create_ruleset, &denied, sizeof denied.handled_access_fs, 0)));
  return rules && syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0;
}

}  // namespace

workerProtocol::Confinement confineProcess(const ParserNeeds& needs) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  ignoreSignals();
  volunteerForOutOfMemory();
  setLimits(needs);
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  workerProtocol::Confinement confinement;
  confinement.files = denyFiles();
  confinement.systemCalls = allowOnlyReading(needs.looksForFiles);
  return confinement;
}

}  // namespace orvel
