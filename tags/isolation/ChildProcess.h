#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/Descriptor.h"

namespace orvel {

/// A child process of the host's. Leaves the host's signal handlers and other children alone: its
/// end is asked for by its own id, and the host may as well ignore or reap it itself.
class ChildProcess {
 public:
  /// Starts `program`, an absolute path, in a process group of its own, with signals at their
  /// defaults, without the host's descriptors and nearly without its environment. Safe in a process
  /// with threads. Throws std::system_error.
  /// @param descriptors  become the child's from 3 on, the only ones beside the standard ones
  ChildProcess(const std::string& program, const std::vector<int>& descriptors);
  /// Kills the child. One that the kernel holds back, in a read that does not return, is buried
  /// later.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// True when the child is inside this system call and waits there.
  [[nodiscard]] bool waitsIn(long systemCall) const;

  /// Kills the child, unless it has ended, and tells how it ended in words for people.
  std::string end();

 private:
  struct Handle {
    pid_t id = 0;
    Descriptor descriptor;  ///< empty on kernels before 5.3
  };
  struct Graveyard;

  static std::optional<std::string> bury(const Handle& handle);
  static void buryEarlier();
  std::optional<std::string> buryWithin(std::chrono::milliseconds time);
  void kill() const;

  Handle handle;
  std::optional<std::string> ending;
};

}  // namespace orvel
