#pragma once

#include <string>
#include <vector>

#include "hotplug/MountTable.h"

namespace orvel::hotplug {

/// Which mounts are media that people bring along, and who mounts them.
struct MediaPolicy {
  /// Folders below which media are mounted, or on which. A file system whose first mount is
  /// elsewhere belongs to the system and is no medium, wherever it is mounted again.
  std::vector<std::string> roots{"/media", "/run/media", "/mnt"};
  /// File systems without a block device that count as well, such as "cifs" or "fuse.sshfs".
  std::vector<std::string> types;
  /// Device ids and mount points that never count, as patterns in which "*" stands for any text.
  std::vector<std::string> exclude;
  /// Counts disks that nobody can pull out, too.
  bool internalDisks = false;
  /// Has udisks mount media that nobody has mounted.
  bool mountMedia = false;

  /// The mounts of `table` to look at: one for each file system, the whole rather than one of its
  /// folders. Whether a disk can be pulled out is not looked at here.
  [[nodiscard]] std::vector<Mount> select(const std::vector<Mount>& table) const;

  /// True when a pattern excludes this device id or mount point.
  [[nodiscard]] bool excludes(const std::string& name) const;
};

}  // namespace orvel::hotplug
