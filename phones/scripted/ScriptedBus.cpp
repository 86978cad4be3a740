#include "phones/scripted/ScriptedBus.h"

#include <cstdio>
#include <map>
#include <memory>

#include "phones/Device.h"
#include "phones/scripted/FaultyCalls.h"
#include "phones/scripted/ScriptedSession.h"

#include "base/NoDestructor.h"

namespace orvel {

namespace scripted {

namespace {

/// The devices by their bus paths, those that were pulled out included.
class Bus {
 public:
  static Bus& instance() {
    // Never destroyed: the threads of devices may still ask while the process ends.
    static NoDestructor<Bus> bus;
    return *bus;
  }

  std::shared_ptr<LiveDevice> attach(const ScriptedDevice& device, ObjectIds ids = ObjectIds()) {
    const MutexLock lock(mutex);
    char path[16];
    std::snprintf(path, sizeof path, "001-%03u", ++lastAddress);
    return devices[path] = std::make_shared<LiveDevice>(path, device, std::move(ids));
  }

  std::shared_ptr<LiveDevice> find(const std::string& path) {
    const MutexLock lock(mutex);
    const auto found = devices.find(path);
    return found == devices.end() ? nullptr : found->second;
  }

  std::vector<std::shared_ptr<LiveDevice>> all() {
    const MutexLock lock(mutex);
    std::vector<std::shared_ptr<LiveDevice>> list;
    for (const auto& [path, device] : devices) list.push_back(device);
    return list;
  }

  void clear() {
    for (const auto& device : all()) device->remove();
    const MutexLock lock(mutex);
    devices.clear();
  }

 private:
  Mutex mutex;
  unsigned lastAddress ORVEL_GUARDED_BY(mutex) = 0;
  std::map<std::string, std::shared_ptr<LiveDevice>> devices ORVEL_GUARDED_BY(mutex);
};

/// The device at `path`; a device that is gone when none is there any more.
std::shared_ptr<LiveDevice> presentOrGone(const std::string& path) {
  auto live = Bus::instance().find(path);
  if (live != nullptr) return live;
  live = std::make_shared<LiveDevice>(path, ScriptedDevice(), ObjectIds());
  live->remove();
  return live;
}

}  // namespace

std::shared_ptr<LiveDevice> attach(const ScriptedDevice& device) {
  return Bus::instance().attach(device);
}

std::shared_ptr<LiveDevice> replug(LiveDevice& device) {
  device.remove();
  const ScriptedDevice description = device.media()->device();
  ObjectIds ids = device.objectIds();
  if (description.renumbers) ids.renumber();
  return Bus::instance().attach(description, std::move(ids));
}

void clear() {
  Bus::instance().clear();
}

}  // namespace scripted

namespace deviceBus {

using scripted::Bus;

std::vector<BusDevice> scan() {
  std::vector<BusDevice> found;
  for (const auto& device : Bus::instance().all()) {
    if (!device->isPresent()) continue;
    const auto media = device->media();
    found.push_back({device->path(), media->device().vendor, media->device().product});
  }
  return found;
}

std::unique_ptr<DeviceSession> connect(const BusDevice& device) {
  return std::make_unique<scripted::ScriptedSession>(scripted::presentOrGone(device.path));
}

std::unique_ptr<DeviceCalls> callsOf(Device& device) {
  return std::make_unique<scripted::FaultyCalls>(device, scripted::presentOrGone(device.busPath()));
}

bool isPresent(const std::string& path) {
  const auto device = Bus::instance().find(path);
  return device && device->isPresent();
}

}  // namespace deviceBus

}  // namespace orvel
