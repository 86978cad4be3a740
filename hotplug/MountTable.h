#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace orvel::hotplug {

/// One mount. The texts hold any bytes; the escapes of the system's table are resolved.
struct Mount {
  std::string mountPoint;
  std::string root;    ///< folder of the file system that is mounted here; "/" is the whole
  std::string source;  ///< by whatever name it was mounted: "/dev/sda1", "tmpfs"
  std::string type;    ///< of the file system
  dev_t device = 0;    ///< block device that holds the file system; 0 where there is none
};

/// Reads a table of mounts in the format of proc(5), in the order in which they were mounted.
/// Throws std::runtime_error with a text for people when the file cannot be read. Any thread.
std::vector<Mount> readMountTable(const std::string& file = "/proc/self/mountinfo");

}  // namespace orvel::hotplug
