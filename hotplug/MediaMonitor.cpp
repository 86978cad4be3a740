#include "hotplug/MediaMonitor.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "hotplug/DeviceText.h"

namespace orvel::hotplug {

namespace {

/// Between two looks at the mounts, so that a burst of changes does not cost a look each.
constexpr std::chrono::milliseconds kPause{50};
/// The device manager describes a disk in less, unless it hangs.
constexpr std::chrono::seconds kDescriptionWait{3};
/// Between two looks while a disk waits for its description.
constexpr unsigned kRecheckMs = 500;

std::string nameFor(const Medium& medium, const std::string& model) {
  for (const Partition& partition : medium.partitions) {
    if (!partition.label.empty()) return partition.label;
  }
  if (!model.empty()) return model;
  const std::filesystem::path folder = medium.partitions.front().mountPoint;
  const std::string name = shownText(folder.filename().string());
  return name.empty() ? "Medium" : name;
}

bool isNamedInUtf8(const Mount& mount) {
  return g_utf8_validate(mount.mountPoint.c_str(), -1, nullptr) == TRUE;
}

}  // namespace

MediaMonitor::MediaMonitor(MediaPolicy mediaPolicy, Events receivers)
    : policy(std::move(mediaPolicy)),
      events(std::move(receivers)),
      devices([this] { request(); }),
      udisks(policy.mountMedia, [this] { request(); }),
      watch([this] { request(); }) {
  request();
}

/// The first change after a quiet time is looked at at once, later ones together.
void MediaMonitor::request() {
  using std::chrono::milliseconds;
  if (nextRefresh) return;
  const auto wait = std::chrono::ceil<milliseconds>(refreshed + kPause - Clock::now());
  const auto delay = std::clamp(wait, milliseconds(0), kPause);
  nextRefresh = callLater(static_cast<unsigned>(delay.count()), [this] { refresh(); });
}

void MediaMonitor::refresh() {
  nextRefresh.reset();
  refreshed = Clock::now();
  Findings findings;
  try {
    findings = look();
  } catch (const std::runtime_error& error) {
    g_warning("%s Media stay as they were.", error.what());
    return;
  }
  report(identified(findings));
  if (!undescribed.empty()) nextRecheck = callLater(kRecheckMs, [this] { request(); });
}

MediaMonitor::Findings MediaMonitor::look() {
  std::vector<Mount> mounts = policy.select(readMountTable());
  const auto unnamed = std::stable_partition(mounts.begin(), mounts.end(), isNamedInUtf8);
  tellUnreadable({unnamed, mounts.end()});
  mounts.erase(unnamed, mounts.end());
  Findings findings;
  std::map<std::string, Clock::time_point> waiting;
  for (const Mount& mount : mounts) {
    if (mount.device == 0) {
      findings[mount.mountPoint].partitions[0] = {mount.mountPoint, mount.source, ""};
      continue;
    }
    const auto device = devices.find(mount.device);
    if (!device || !isMedium(mount.device, *device)) continue;
    if (const auto since = waitsSince(*device)) {
      waiting.emplace(device->disk, *since);
    } else {
      add(findings, mount, *device);
    }
  }
  undescribed = std::move(waiting);
  return findings;
}

void MediaMonitor::tellUnreadable(const std::vector<Mount>& mounts) {
  std::set<std::string> seen;
  for (const Mount& mount : mounts) {
    seen.insert(mount.mountPoint);
    if (unreadable.count(mount.mountPoint) != 0) continue;
    g_warning("%s is left out: its name is not valid UTF-8. Mount the device under another name.",
              shownText(mount.mountPoint).c_str());
  }
  unreadable = std::move(seen);
}

bool MediaMonitor::isMedium(dev_t number, const BlockDevice& device) const {
  return policy.internalDisks || udisks.isMedium(number).value_or(device.isHotPluggable);
}

/// A disk that is mounted before the device manager has read it would get another id than later.
std::optional<MediaMonitor::Clock::time_point> MediaMonitor::waitsSince(
    const BlockDevice& device) const {
  if (device.isDescribed || known.count(device.disk) != 0) return std::nullopt;
  const auto entry = undescribed.find(device.disk);
  const auto since = entry == undescribed.end() ? Clock::now() : entry->second;
  if (Clock::now() - since >= kDescriptionWait) return std::nullopt;
  return since;
}

void MediaMonitor::add(Findings& findings, const Mount& mount, const BlockDevice& device) {
  Finding& finding = findings[device.disk];
  finding.uuid = device.uuid;
  finding.model = device.model;
  finding.partitions[device.number] = {mount.mountPoint, device.node, shownText(device.label)};
}

MediaMonitor::Media MediaMonitor::identified(const Findings& findings) const {
  Media media;
  std::set<std::string> taken;
  for (const auto& [disk, finding] : findings) {
    Known found;
    for (const auto& entry : finding.partitions) found.medium.partitions.push_back(entry.second);
    found.wantedId =
        finding.uuid.empty() ? found.medium.partitions.front().mountPoint : finding.uuid;
    found.medium.name = nameFor(found.medium, finding.model);
    const auto earlier = known.find(disk);
    if (earlier != known.end() && earlier->second.wantedId == found.wantedId) {
      found.medium.deviceId = earlier->second.medium.deviceId;
      taken.insert(found.medium.deviceId);
    }
    media.emplace(disk, std::move(found));
  }
  for (auto& [disk, found] : media) {
    std::string& id = found.medium.deviceId;
    if (!id.empty()) continue;
    id = found.wantedId;
    for (int n = 2; !taken.insert(id).second; ++n) id = found.wantedId + "#" + std::to_string(n);
  }
  return media;
}

void MediaMonitor::report(Media media) {
  std::erase_if(
      media, [this](const auto& entry) { return policy.excludes(entry.second.medium.deviceId); });
  const Media before = std::exchange(known, media);
  const auto isSame = [](const Medium& medium, const Media& others, const std::string& disk) {
    const auto other = others.find(disk);
    return other != others.end() && other->second.medium.deviceId == medium.deviceId;
  };
  for (const auto& [disk, old] : before) {
    if (!isSame(old.medium, media, disk)) events.removed(old.medium.deviceId);
  }
  for (const auto& [disk, found] : media) {
    if (!isSame(found.medium, before, disk)) {
      events.attached(found.medium);
    } else if (found.medium != before.at(disk).medium) {
      events.changed(found.medium);
    }
  }
}

}  // namespace orvel::hotplug
