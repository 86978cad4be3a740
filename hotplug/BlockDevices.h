#pragma once

#include <gudev/gudev.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/GlibPointers.h"

namespace orvel::hotplug {

/// One partition of a disk, or a whole disk without partitions, as the system describes it.
struct BlockDevice {
  std::string disk;          ///< names the disk for as long as the same medium is in it
  std::uint64_t number = 0;  ///< of the partition; 0 for a whole disk
  std::string node;          ///< "/dev/sda1"
  std::string label;         ///< of the file system: a stranger's bytes
  std::string model;         ///< maker and model of the drive; may be empty
  std::string uuid;  ///< of the first file system of the disk; empty if none has a plain one
  bool isHotPluggable = false;  ///< people can pull the disk out, as far as the kernel knows
  bool isDescribed = false;     ///< false while the device manager still examines the disk
};

/// Describes disks and tells when a description changes. Belongs to the thread that made it.
class BlockDevices {
 public:
  /// Calls `changed` on the main context of this thread after each event of the device manager.
  explicit BlockDevices(std::function<void()> changed);
  ~BlockDevices();
  BlockDevices(const BlockDevices&) = delete;
  BlockDevices& operator=(const BlockDevices&) = delete;

  /// Nothing when the device has gone.
  [[nodiscard]] std::optional<BlockDevice> find(dev_t number) const;

 private:
  static void onEvent(BlockDevices* self);

  std::function<void()> onChange;
  GlibObject<GUdevClient> client;
};

}  // namespace orvel::hotplug
