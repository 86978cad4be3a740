#pragma once

#include <string>
#include <vector>

namespace orvel::hotplug {

/// One file system of a medium that is mounted now.
struct Partition {
  std::string mountPoint;  ///< valid UTF-8
  std::string node;        ///< "/dev/sda1", or the source of a file system without a device
  std::string label;       ///< of the file system, safe to show; may be empty

  bool operator==(const Partition&) const = default;
};

/// A stick, a card or another medium with at least one mounted partition.
struct Medium {
  /// The same wherever and whenever the medium is mounted: the UUID of the first file system on it,
  /// mounted or not. "#2" and so on follow for the second of two attached media with one UUID.
  /// Without a UUID it is the first mount point.
  std::string deviceId;
  std::string name;                   ///< for people, safe to show, never empty
  std::vector<Partition> partitions;  ///< by their numbers on the medium

  bool operator==(const Medium&) const = default;
};

}  // namespace orvel::hotplug
