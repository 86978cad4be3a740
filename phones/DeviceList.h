#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/NoDestructor.h"
#include "phones/Device.h"

namespace orvel {

/// Called once for each device that is found gone, on the thread that finds it and with no lock
/// held. Must not wait for a call about this device: those wait for the listener.
using RemovalListener = void (*)(t_handle handle);

/// The attached devices by handle. One instance per process, never destroyed: the threads of
/// devices may outlive the main function. Any thread.
class DeviceList {
 public:
  static DeviceList& instance();

  /// Null when the handle is unknown or its device is gone.
  std::shared_ptr<Device> find(t_handle handle);
  /// The device that the host indexes under this id; null if there is none.
  std::shared_ptr<Device> find(const std::string& deviceId);
  /// In the order of their handles.
  std::vector<std::shared_ptr<Device>> all();
  /// Adds a device of the bus unless it is in the list.
  void add(const deviceBus::BusDevice& bus);
  /// Tells the listener that a device is gone, then removes the device. In this order the listener
  /// knows of the removal before any call answers STATUS_NOT_OK_BAD_HANDLE.
  void remove(t_handle handle);

  void setDeviceId(t_handle handle, const std::string& deviceId);
  /// Replaces the listener; null for none.
  void setRemovalListener(RemovalListener replacement) { listener = replacement; }

 private:
  friend class NoDestructor<DeviceList>;

  DeviceList() = default;

  Mutex mutex;
  t_handle lastHandle ORVEL_GUARDED_BY(mutex) = 0;
  std::map<t_handle, std::shared_ptr<Device>> devices ORVEL_GUARDED_BY(mutex);
  std::map<std::string, t_handle> deviceIds ORVEL_GUARDED_BY(mutex);
  std::atomic<RemovalListener> listener{nullptr};
};

}  // namespace orvel
