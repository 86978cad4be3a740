#include "tests/faults/OwnMounts.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace orvel::test {

namespace {

std::string error(const std::string& what) {
  return what + ": " + std::strerror(errno);
}

bool write(const char* file, const std::string& text) {
  std::ofstream out(file);
  out << text << std::flush;
  return out.good();
}

/// Makes this user root among processes of its own.
bool becomeRoot() {
  const auto user = std::to_string(getuid());
  const auto group = std::to_string(getgid());
  return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && write("/proc/self/setgroups", "deny") &&
         write("/proc/self/uid_map", "0 " + user + " 1") &&
         write("/proc/self/gid_map", "0 " + group + " 1");
}

/// Returns the obstacle.
std::string leaveSharedMounts() {
  if (unshare(CLONE_NEWNS) != 0 && !becomeRoot()) {
    return error("no mounts of its own for the test, neither as root nor in a user namespace");
  }
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    return error("the mounts cannot be made private");
  }
  return "";
}

const std::string& obstacleOnce() {
  static const std::string found = leaveSharedMounts();
  return found;
}

}  // namespace

OwnMounts::OwnMounts() : reason(obstacleOnce()) {}

}  // namespace orvel::test
