#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/Descriptor.h"

namespace orvel {

/// A child process of the host. Leaves the host's signal handlers and other children alone: waits
/// for this one id only, and copes with a host that ignores SIGCHLD or reaps the child itself.
/// Used by one thread.
class ChildProcess {
 public:
  /// Starts `program`, an absolute path, in a process group of its own, with default signal
  /// handling, none of the host's descriptors and little of its environment. Safe in a process with
  /// threads. Throws std::system_error.
  /// @param descriptors  numbered from 3 on in the child, where they are the only ones beside the
  ///                     standard ones
  /// @param arguments    after the program's name
  ChildProcess(const std::string& program, const std::vector<int>& descriptors,
               std::vector<std::string> arguments = {});
  /// Kills the child. One that the kernel keeps in a read that does not return is reaped later.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// True while the child is blocked in this system call.
  [[nodiscard]] bool waitsIn(long systemCall) const;

  /// Kills the child unless it has ended, and describes for the log how it ended.
  std::string end();

 private:
  struct Handle {
    pid_t id = 0;
    Descriptor descriptor;  ///< empty on kernels before 5.3
  };
  struct Unreaped;

  static std::optional<std::string> reap(const Handle& handle);
  static void reapEarlier();
  std::optional<std::string> reapWithin(std::chrono::milliseconds time);
  void kill() const;

  Handle handle;
  std::optional<std::string> ending;
};

}  // namespace orvel
