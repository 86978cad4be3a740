#pragma once

#include <string>
#include <vector>

namespace orvel::host {

/// Files in which the system describes its mounts and file systems; tests replace them.
struct MountFiles {
  std::string mountInfo = "/proc/self/mountinfo";
  std::string uuidLinks = "/dev/disk/by-uuid";
  std::string labelLinks = "/dev/disk/by-label";
};

/// The device id for `folder`, an absolute path, when the user gives none. It is the UUID of the
/// file system if a whole one is mounted there, so that a stick is recognised wherever it is
/// plugged in, and otherwise the path itself.
std::string defaultDeviceId(const std::string& folder, const MountFiles& files = {});

/// A file system of a medium that people bring along, mounted now.
struct MountedMedium {
  std::string deviceId;    ///< `defaultDeviceId` of its mount point
  std::string label;       ///< of the file system, else the name of the folder; safe to show
  std::string mountPoint;  ///< valid UTF-8
};

/// The media that are mounted below /media, /run/media and /mnt. Throws std::runtime_error with a
/// text for people when the mounts cannot be read.
std::vector<MountedMedium> mountedMedia(const MountFiles& files = {});

}  // namespace orvel::host
