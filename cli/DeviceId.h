#pragma once

#include <string>

namespace orvel::cli {

/// Where the system describes its mounts and file systems.
struct MountTable {
  std::string mountInfo = "/proc/self/mountinfo";
  std::string uuidLinks = "/dev/disk/by-uuid";
};

/// The device id of a folder that was given none: the UUID of the file system when `folder`, an
/// absolute path, is where a whole file system is mounted, so that a stick is known again wherever
/// it is plugged in; else the path itself.
std::string defaultDeviceId(const std::string& folder, const MountTable& table = {});

}  // namespace orvel::cli
