#include "host/DeviceId.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

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

}  // namespace

std::string defaultDeviceId(const std::string& folder, const MountFiles& files) {
  std::error_code ignored;
  const fs::path resolved = fs::canonical(folder, ignored);
  const dev_t device = mountedDevice(resolved.string(), files.mountInfo);
  if (device == 0) return folder;
  for (const fs::directory_entry& link : fs::directory_iterator(files.uuidLinks, ignored)) {
    std::string uuid = link.path().filename().string();
    if (numberOf(link.path().string()) == device && hotplug::isPlainUuid(uuid)) return uuid;
  }
  return folder;
}

}  // namespace orvel::host
