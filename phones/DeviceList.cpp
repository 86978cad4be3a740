#include "phones/DeviceList.h"

#include <algorithm>

#include "base/NoDestructor.h"

namespace orvel {

DeviceList& DeviceList::instance() {
  static NoDestructor<DeviceList> list;
  return *list;
}

std::shared_ptr<Device> DeviceList::find(t_handle handle) {
  const MutexLock lock(mutex);
  const auto found = devices.find(handle);
  return found == devices.end() ? nullptr : found->second;
}

std::shared_ptr<Device> DeviceList::find(const std::string& deviceId) {
  const MutexLock lock(mutex);
  const auto handle = deviceIds.find(deviceId);
  if (handle == deviceIds.end()) return nullptr;
  const auto found = devices.find(handle->second);
  return found == devices.end() ? nullptr : found->second;
}

std::vector<std::shared_ptr<Device>> DeviceList::all() {
  const MutexLock lock(mutex);
  std::vector<std::shared_ptr<Device>> result;
  result.reserve(devices.size());
  for (const auto& [handle, device] : devices) result.push_back(device);
  return result;
}

void DeviceList::add(const deviceBus::BusDevice& bus) {
  const MutexLock lock(mutex);
  const bool isKnown = std::any_of(devices.begin(), devices.end(), [&](const auto& entry) {
    return entry.second->busPath() == bus.path;
  });
  if (isKnown) return;
  ++lastHandle;
  devices.emplace(lastHandle, std::make_shared<Device>(lastHandle, bus));
}

void DeviceList::remove(t_handle handle) {
  if (const RemovalListener told = listener; told != nullptr) told(handle);
  std::shared_ptr<Device> removed;
  const MutexLock lock(mutex);
  const auto found = devices.find(handle);
  if (found == devices.end()) return;
  removed = std::move(found->second);
  devices.erase(found);
  std::erase_if(deviceIds, [&](const auto& entry) { return entry.second == handle; });
}

void DeviceList::setDeviceId(t_handle handle, const std::string& deviceId) {
  const MutexLock lock(mutex);
  if (devices.count(handle) != 0) deviceIds[deviceId] = handle;
}

}  // namespace orvel
