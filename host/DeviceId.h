#pragma once

#include <string>

namespace orvel::host {

/// Files in which the system describes its mounts and file systems; tests replace them.
struct MountFiles {
  std::string mountInfo = "/proc/self/mountinfo";
  std::string uuidLinks = "/dev/disk/by-uuid";
};

/// The device id for `folder`, an absolute path, when the user gives none. It is the UUID of the
/// file system if a whole one is mounted there, so that a stick is recognised wherever it is
/// plugged in, and otherwise the path itself.
std::string defaultDeviceId(const std::string& folder, const MountFiles& files = {});

}  // namespace orvel::host
