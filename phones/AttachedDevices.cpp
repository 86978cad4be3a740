#include <orvel/AttachedDevices.h>

#include <algorithm>
#include <chrono>
#include <future>

#include "phones/DeviceList.h"

namespace orvel {

namespace {

constexpr std::chrono::milliseconds kReleaseTime{500};

}  // namespace

std::vector<AttachedDevice> attachedDevices() {
  const std::vector<deviceBus::BusDevice> present = deviceBus::scan();
  DeviceList& list = DeviceList::instance();
  for (const auto& device : list.all()) {
    const bool isPresent = std::any_of(present.begin(), present.end(), [&](const auto& bus) {
      return bus.path == device->busPath();
    });
    if (!isPresent) device->markGone();
  }
  for (const deviceBus::BusDevice& bus : present) list.add(bus);
  std::vector<AttachedDevice> result;
  for (const auto& device : list.all()) {
    AttachedDevice described = device->describe();
    if (!device->isGone()) result.push_back(std::move(described));
  }
  return result;
}

std::vector<DeviceStorage> storagesOf(t_handle handle) {
  std::vector<DeviceStorage> storages;
  const auto device = DeviceList::instance().find(handle);
  if (device != nullptr) device->listStorages(storages, WhenBusy::Wait);
  return storages;
}

bool isAttached(t_handle handle) {
  const auto device = DeviceList::instance().find(handle);
  if (device == nullptr) return false;
  if (!deviceBus::isPresent(device->busPath())) device->markGone();
  return !device->isGone();
}

void setDeviceId(t_handle handle, const std::string& deviceId) {
  DeviceList::instance().setDeviceId(handle, deviceId);
}

std::optional<t_track_id> findObject(const std::string& deviceId, const std::string& objectId) {
  const auto device = DeviceList::instance().find(deviceId);
  if (device == nullptr) return std::nullopt;
  return device->withObjects([&](const ObjectTable& objects) -> std::optional<t_track_id> {
    for (const t_track_id id : objects.tracks()) {
      if (objects.objectId(id, deviceId) == objectId) return id;
    }
    return std::nullopt;
  });
}

void releaseDevices() {
  std::vector<std::future<void>> released;
  for (const auto& device : DeviceList::instance().all()) {
    const auto closed = std::make_shared<std::promise<void>>();
    released.push_back(closed->get_future());
    device->close([closed] { closed->set_value(); });
  }
  const auto deadline = std::chrono::steady_clock::now() + kReleaseTime;
  for (const std::future<void>& one : released) one.wait_until(deadline);
}

}  // namespace orvel
