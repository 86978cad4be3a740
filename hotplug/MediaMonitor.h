#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/GlibSource.h"
#include "hotplug/BlockDevices.h"
#include "hotplug/MediaPolicy.h"
#include "hotplug/Medium.h"
#include "hotplug/MountWatch.h"
#include "hotplug/Udisks.h"

namespace orvel::hotplug {

/// Tells which media come and go. Belongs to the thread that made it, and reports on its main
/// context. Costs nothing while nothing is mounted or plugged.
class MediaMonitor {
 public:
  /// The receivers of reports. They must not destroy the monitor.
  struct Events {
    /// A medium has its first mounted partition. Further ones follow with `changed`.
    std::function<void(const Medium&)> attached;
    /// A partition of an attached medium was mounted or unmounted, or the name has changed.
    std::function<void(const Medium&)> changed;
    /// The last partition of the medium with this id was unmounted or pulled out.
    std::function<void(const std::string& deviceId)> removed;
  };

  /// Reports the media that are there already as soon as the main context runs. Throws
  /// std::runtime_error with a text for people when mounts cannot be watched.
  MediaMonitor(MediaPolicy mediaPolicy, Events receivers);

 private:
  using Clock = std::chrono::steady_clock;

  /// A medium as it is found, before it has an id of its own.
  struct Finding {
    std::string uuid;
    std::string model;
    std::map<std::uint64_t, Partition> partitions;
  };
  /// By the disk's name.
  using Findings = std::map<std::string, Finding>;

  struct Known {
    std::string wantedId;
    Medium medium;
  };
  using Media = std::map<std::string, Known>;

  void request();
  void refresh();
  Findings look();
  static void add(Findings& findings, const Mount& mount, const BlockDevice& device);
  std::optional<Clock::time_point> waitsSince(const BlockDevice& device) const;
  bool isMedium(dev_t number, const BlockDevice& device) const;
  Media identified(const Findings& findings) const;
  void report(Media media);
  void tellUnreadable(const std::vector<Mount>& mounts);

  MediaPolicy policy;
  Events events;
  BlockDevices devices;
  Udisks udisks;
  MountWatch watch;
  Media known;
  std::map<std::string, Clock::time_point> undescribed;  ///< disks that wait, and since when
  std::set<std::string> unreadable;                      ///< mount points that were told
  Clock::time_point refreshed;
  GlibSource nextRefresh;
  GlibSource nextRecheck;
};

}  // namespace orvel::hotplug
