#include "host/DeviceId.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "base/Utf8.h"
#include "hotplug/DeviceText.h"
#include "hotplug/MediaPolicy.h"
#include "hotplug/MountTable.h"
#include "hotplug/isPlainUuid.h"

namespace orvel::host {

namespace {

namespace fs = std::filesystem;

/// The device whose file system is mounted at `folder`; 0 if there is none, or if only a part of a
/// file system is mounted there. The last mount on a folder hides earlier ones.
dev_t mountedDevice(const std::string& folder, const std::string& mountInfo) try {
  const std::vector<hotplug::Mount> mounts = hotplug::readMountTable(mountInfo);
  const auto mount =
      std::find_if(mounts.rbegin(), mounts.rend(),
                   [&](const hotplug::Mount& candidate) { return candidate.mountPoint == folder; });
  return mount != mounts.rend() && mount->root == "/" ? mount->device : 0;
} catch (const std::runtime_error&) {
  return 0;
}

dev_t numberOf(const std::string& node) {
  struct stat status {};
  return stat(node.c_str(), &status) == 0 ? status.st_rdev : 0;
}

/// The names of the links in `folder` to a device, as udev escapes them.
std::vector<std::string> linksTo(dev_t device, const std::string& folder) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const fs::directory_entry& link : fs::directory_iterator(folder, ignored)) {
    if (numberOf(link.path().string()) == device) names.push_back(link.path().filename().string());
  }
  return names;
}

std::string labelOf(const hotplug::Mount& mount, const MountFiles& files) {
  for (const std::string& name : linksTo(mount.device, files.labelLinks)) {
    std::string label = hotplug::shownText(hotplug::unescapedProperty(name));
    if (!label.empty()) return label;
  }
  return hotplug::shownText(fs::path(mount.mountPoint).filename().string());
}

}  // namespace

std::string defaultDeviceId(const std::string& folder, const MountFiles& files) {
  std::error_code ignored;
  const fs::path resolved = fs::canonical(folder, ignored);
  const dev_t device = mountedDevice(resolved.string(), files.mountInfo);
  if (device == 0) return folder;
  for (const std::string& uuid : linksTo(device, files.uuidLinks)) {
    if (hotplug::isPlainUuid(uuid)) return uuid;
  }
  return folder;
}

std::vector<MountedMedium> mountedMedia(const MountFiles& files) {
  std::vector<MountedMedium> media;
  for (const hotplug::Mount& mount :
       hotplug::MediaPolicy().select(hotplug::readMountTable(files.mountInfo))) {
    if (!utf8::isValid(mount.mountPoint)) continue;
    media.push_back(
        {defaultDeviceId(mount.mountPoint, files), labelOf(mount, files), mount.mountPoint});
  }
  return media;
}

}  // namespace orvel::host
