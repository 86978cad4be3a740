#include "hotplug/BlockDevices.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>
#include <utility>
#include <vector>

#include "hotplug/DeviceText.h"
#include "hotplug/isPlainUuid.h"
#include "hotplug/isUdevRunning.h"

namespace orvel::hotplug {

namespace {

namespace fs = std::filesystem;

using Device = GlibObject<GUdevDevice>;

std::string property(const Device& device, const char* key) {
  const char* value = g_udev_device_get_property(device.get(), key);
  return value == nullptr ? "" : value;
}

/// An attribute of the kernel's, read at every call; empty if there is none.
std::string attribute(const Device& device, const char* key) {
  const char* value = g_udev_device_get_sysfs_attr_uncached(device.get(), key);
  return value == nullptr ? "" : value;
}

bool isBelow(const Device& device, const char* subsystem) {
  return Device(g_udev_device_get_parent_with_subsystem(device.get(), subsystem, nullptr)) !=
         nullptr;
}

/// Cards are hot-pluggable, the memory that is soldered to the same kind of bus is not.
bool isCard(const Device& disk) {
  const Device card(g_udev_device_get_parent_with_subsystem(disk.get(), "mmc", nullptr));
  return card && attribute(card, "type") == "SD";
}

bool isHotPluggable(const Device& disk) {
  return attribute(disk, "removable") == "1" || isBelow(disk, "usb") || isBelow(disk, "firewire") ||
         isCard(disk);
}

/// The disk and its partitions by their numbers; the disk itself has 0.
std::map<std::uint64_t, Device> partsOf(GUdevClient* client, const Device& disk) {
  std::map<std::uint64_t, Device> parts;
  const fs::path folder = g_udev_device_get_sysfs_path(disk.get());
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
    if (!fs::exists(entry.path() / "partition", ignored)) continue;
    Device part(g_udev_client_query_by_sysfs_path(client, entry.path().c_str()));
    if (!part) continue;
    const auto number = g_udev_device_get_sysfs_attr_as_uint64(part.get(), "partition");
    parts.emplace(number, std::move(part));
  }
  Device whole(g_udev_client_query_by_sysfs_path(client, folder.c_str()));
  if (whole) parts.emplace(0, std::move(whole));
  return parts;
}

std::string firstUuid(const std::map<std::uint64_t, Device>& parts) {
  for (const auto& [number, part] : parts) {
    std::string uuid = property(part, "ID_FS_UUID");
    if (property(part, "ID_FS_USAGE") == "filesystem" && isPlainUuid(uuid)) return uuid;
  }
  return {};
}

bool areDescribed(const std::map<std::uint64_t, Device>& parts) {
  return std::all_of(parts.begin(), parts.end(), [](const auto& part) {
    return g_udev_device_get_is_initialized(part.second.get()) == TRUE;
  });
}

std::string modelOf(const Device& disk) {
  const std::string maker = unescapedProperty(property(disk, "ID_VENDOR_ENC"));
  const std::string model = unescapedProperty(property(disk, "ID_MODEL_ENC"));
  return shownText(shownText(maker) + " " + shownText(model));
}

}  // namespace

BlockDevices::BlockDevices(std::function<void()> changed) : onChange(std::move(changed)) {
  const char* const subsystems[] = {"block", nullptr};
  client.reset(g_udev_client_new(subsystems));
  g_signal_connect_swapped(client.get(), "uevent", G_CALLBACK(&BlockDevices::onEvent), this);
}

BlockDevices::~BlockDevices() {
  g_signal_handlers_disconnect_by_data(client.get(), this);
}

void BlockDevices::onEvent(BlockDevices* self) {
  self->onChange();
}

std::optional<BlockDevice> BlockDevices::find(dev_t number) const {
  const Device device(
      g_udev_client_query_by_device_number(client.get(), G_UDEV_DEVICE_TYPE_BLOCK, number));
  if (!device || g_udev_device_get_device_file(device.get()) == nullptr) return std::nullopt;
  Device parent(g_udev_device_get_parent_with_subsystem(device.get(), "block", "disk"));
  const bool isPartition = parent != nullptr;
  const Device& disk = isPartition ? parent : device;
  const auto parts = partsOf(client.get(), disk);
  BlockDevice found;
  // The number in the sequence of media changes with each stick, while its name is used again.
  found.disk = std::string(g_udev_device_get_name(disk.get())) + " " + attribute(disk, "diskseq");
  if (isPartition) {
    found.number = g_udev_device_get_sysfs_attr_as_uint64(device.get(), "partition");
  }
  found.node = g_udev_device_get_device_file(device.get());
  found.label = unescapedProperty(property(device, "ID_FS_LABEL_ENC"));
  found.model = modelOf(disk);
  found.uuid = firstUuid(parts);
  found.isHotPluggable = isHotPluggable(disk);
  // A mounted disk has a file system, so a record without one is older than that.
  found.isDescribed =
      !isUdevRunning() || (areDescribed(parts) && !property(device, "ID_FS_TYPE").empty());
  return found;
}

}  // namespace orvel::hotplug
