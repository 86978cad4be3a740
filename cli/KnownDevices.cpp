#include "cli/KnownDevices.h"

#include <sys/stat.h>

#include <QDateTime>
#include <algorithm>
#include <filesystem>

#include "host/DeviceId.h"

namespace orvel::cli {

namespace {

constexpr char kPhoneMountPoint[] = "mtp-folder://";

std::vector<host::MountedMedium> mountedNow() try {
  return host::mountedMedia();
} catch (const std::runtime_error&) {
  return {};
}

std::int64_t writtenAt(const std::string& file) {
  struct stat status {};
  return stat(file.c_str(), &status) == 0 ? status.st_mtim.tv_sec : 0;
}

/// The last part of a path or of a phone's id, which is its serial number.
std::string labelFrom(const std::string& mountPoint) {
  const bool isPhone = mountPoint.starts_with(kPhoneMountPoint);
  const std::size_t begin = mountPoint.find_last_of(isPhone ? ':' : '/');
  const std::string label = mountPoint.substr(begin == std::string::npos ? 0 : begin + 1);
  return label.empty() ? mountPoint : label;
}

void describe(KnownDevice& device, const std::vector<host::MountedMedium>& mounted) {
  const auto medium = std::find_if(mounted.begin(), mounted.end(), [&](const auto& candidate) {
    return candidate.deviceId == device.id;
  });
  const std::string mountPoint =
      device.partitions.empty() ? device.id : device.partitions.front().mountPoint;
  std::error_code ignored;
  // Only a folder has its path as its id.
  device.isAttached =
      medium != mounted.end() ||
      (device.id.starts_with('/') && std::filesystem::is_directory(device.id, ignored));
  const bool isPhone = mountPoint.starts_with(kPhoneMountPoint);
  device.kind = isPhone ? "phone" : device.id.starts_with('/') ? "folder" : "stick";
  device.label = medium != mounted.end() ? medium->label : labelFrom(mountPoint);
}

}  // namespace

std::vector<KnownDevice> knownDevices(const std::string& folder) {
  const std::vector<host::MountedMedium> mounted = mountedNow();
  std::vector<KnownDevice> devices;
  for (const std::string& file : browse::databasesIn(folder)) {
    try {
      const browse::MediaDatabase database(file);
      KnownDevice device{database.deviceId(), "", "", file, database.partitions()};
      if (device.id.empty()) device.id = file;
      device.lastIndexed = std::max(writtenAt(file), writtenAt(file + "-wal"));
      describe(device, mounted);
      devices.push_back(std::move(device));
    } catch (const browse::DatabaseError&) {
      // `orvel status` tells about databases that cannot be read.
    }
  }
  return devices;
}

std::string readableTime(std::int64_t seconds) {
  return QDateTime::fromSecsSinceEpoch(seconds).toString("yyyy-MM-dd hh:mm").toStdString();
}

KnownDevice knownDevice(const std::string& wanted, const std::string& folder) {
  const std::vector<KnownDevice> devices = knownDevices(folder);
  std::vector<NamedDevice> names;
  names.reserve(devices.size());
  for (const KnownDevice& device : devices) names.push_back(namesOf(device));
  return devices[chooseDevice(wanted, names, "known",
                              "Run 'orvel index' first, or name the folder of the"
                              " databases with --db-dir.")];
}

NamedDevice namesOf(const KnownDevice& device) {
  NamedDevice names{device.id, {device.label, device.database}};
  for (const browse::StoredPartition& partition : device.partitions) {
    names.names.push_back(partition.mountPoint);
  }
  return names;
}

}  // namespace orvel::cli
