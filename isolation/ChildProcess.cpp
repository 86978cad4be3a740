#include "isolation/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "base/NoDestructor.h"

namespace orvel {

namespace {

/// Time to wait for a killed child to end, which takes a millisecond or two.
constexpr std::chrono::milliseconds kReapTime{50};

void require(int error, const char* call) {
  if (error != 0) throw std::system_error(error, std::generic_category(), call);
}

/// Gives the child its descriptors.
class FileActions {
 public:
  explicit FileActions(const std::vector<int>& descriptors) {
    require(posix_spawn_file_actions_init(&actions), "posix_spawn_file_actions_init");
    const int end = kFirst + static_cast<int>(descriptors.size());
    for (const int descriptor : descriptors) {
      // Moves the source above the numbers to be assigned.
      sources.emplace_back(fcntl(descriptor, F_DUPFD_CLOEXEC, end));
      require(sources.back() ? 0 : errno, "fcntl");
      const int number = kFirst + static_cast<int>(sources.size()) - 1;
      require(posix_spawn_file_actions_adddup2(&actions, sources.back().get(), number), "adddup2");
    }
    addNull(STDIN_FILENO, O_RDONLY);
    addNull(STDOUT_FILENO, O_WRONLY);
#ifndef ORVEL_SANITIZED
    addNull(STDERR_FILENO, O_WRONLY);
#endif
    require(posix_spawn_file_actions_addclosefrom_np(&actions, end), "addclosefrom_np");
  }
  ~FileActions() {
    posix_spawn_file_actions_destroy(&actions);
  }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  posix_spawn_file_actions_t actions{};

 private:
  static constexpr int kFirst = STDERR_FILENO + 1;

  void addNull(int descriptor, int flags) {
    require(posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", flags, 0),
            "addopen");
  }

  std::vector<Descriptor> sources;
};

/// Default signal handling, nothing blocked, and a process group that the terminal's signals miss.
class Attributes {
 public:
  Attributes() {
    require(posix_spawnattr_init(&attributes), "posix_spawnattr_init");
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~Attributes() { posix_spawnattr_destroy(&attributes); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  posix_spawnattr_t attributes{};
};

/// The variables that loaders, emulators and sanitizers need to run a program, and the place of the
/// table of file types. Keeps the rest of the host's environment from the child.
std::vector<char*> childEnvironment() {
  constexpr std::array<std::string_view, 6> kWanted = {"LD_",   "QEMU_",  "ASAN_",
                                                       "TSAN_", "UBSAN_", "XDG_DATA_DIRS="};
  std::vector<char*> wanted;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    if (std::any_of(kWanted.begin(), kWanted.end(), [&](std::string_view begin) {
          return std::string_view(*variable).substr(0, begin.size()) == begin;
        })) {
      wanted.push_back(*variable);
    }
  }
  wanted.push_back(nullptr);
  return wanted;
}

std::string describe(const siginfo_t& end) {
  if (end.si_code == CLD_EXITED) return "ended with exit status " + std::to_string(end.si_status);
  const char* description = sigdescr_np(end.si_status);
  return "was ended by signal " + std::to_string(end.si_status) +
         (description == nullptr ? "" : std::string(" (") + description + ")");
}

}  // namespace

/// Killed children that did not end in time. Never destroyed, because threads that use it may
/// outlive static objects.
struct ChildProcess::Unreaped {
  static Unreaped& instance() {
    static NoDestructor<Unreaped> shared;
    return *shared;
  }

  Mutex mutex;
  std::vector<Handle> dying ORVEL_GUARDED_BY(mutex);
};

ChildProcess::ChildProcess(const std::string& program, const std::vector<int>& descriptors,
                           std::vector<std::string> arguments) {
  reapEarlier();
  const FileActions files(descriptors);
  const Attributes attributes;
  arguments.insert(arguments.begin(), program);
  std::vector<char*> words(arguments.size() + 1, nullptr);
  std::transform(arguments.begin(), arguments.end(), words.begin(),
                 [](std::string& argument) { return argument.data(); });
  require(posix_spawn(&handle.id, program.c_str(), &files.actions, &attributes.attributes,
                      words.data(), childEnvironment().data()),
          "posix_spawn");
  handle.descriptor = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, handle.id, 0)));
}

ChildProcess::~ChildProcess() {
  end();
}

bool ChildProcess::waitsIn(long systemCall) const {
  std::ifstream status("/proc/" + std::to_string(handle.id) + "/syscall");
  long current = -1;
  return status >> current && current == systemCall;
}

std::string ChildProcess::end() {
  if (ending) return *ending;
  kill();
  ending = reapWithin(kReapTime);
  if (!ending) {
    ending = "does not end";
    Unreaped& unreaped = Unreaped::instance();
    const MutexLock lock(unreaped.mutex);
    unreaped.dying.push_back(std::move(handle));
  }
  return *ending;
}

void ChildProcess::kill() const {
  if (!handle.descriptor) {
    ::kill(handle.id, SIGKILL);
  } else {
    syscall(SYS_pidfd_send_signal, handle.descriptor.get(), SIGKILL, nullptr, 0);
  }
}

/// Describes how the child ended; returns nothing while it still runs.
std::optional<std::string> ChildProcess::reap(const Handle& handle) {
  siginfo_t end{};
  const auto wait = [&](idtype_t type, int id) {
    return waitid(type, static_cast<id_t>(id), &end, WEXITED | WNOHANG);
  };
  int result = handle.descriptor ? wait(P_PIDFD, handle.descriptor.get()) : wait(P_PID, handle.id);
  if (result != 0 && errno == EINVAL) result = wait(P_PID, handle.id);
  if (result != 0) return "ended, and the host took its exit status";
  if (end.si_pid == 0) return std::nullopt;
  return describe(end);
}

std::optional<std::string> ChildProcess::reapWithin(std::chrono::milliseconds time) {
  constexpr std::chrono::milliseconds kPause{1};
  for (auto left = time; left.count() > 0; left -= kPause) {
    if (auto end = reap(handle)) return end;
    pollfd watched{handle.descriptor.get(), POLLIN, 0};
    poll(&watched, handle.descriptor ? 1 : 0, static_cast<int>(kPause.count()));
  }
  return reap(handle);
}

void ChildProcess::reapEarlier() {
  Unreaped& unreaped = Unreaped::instance();
  const MutexLock lock(unreaped.mutex);
  std::erase_if(unreaped.dying, [](const Handle& dying) { return reap(dying).has_value(); });
}

}  // namespace orvel
