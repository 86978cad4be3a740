#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "phones/Device.h"

namespace orvel {

/// The attached devices by handle. One instance per process, never destroyed, since threads of
/// devices may outlive the main function. Any thread.
class DeviceList {
 public:
  static DeviceList& instance();

  /// Null when the handle is unknown or its device is gone.
  std::shared_ptr<Device> find(t_handle handle);
  /// The device that the host indexes under this id; null when there is none.
  std::shared_ptr<Device> find(const std::string& deviceId);
  /// In the order of their handles.
  std::vector<std::shared_ptr<Device>> all();
  /// Enters a device of the bus unless it is there already.
  void add(const deviceBus::BusDevice& bus);
  /// Tells the listener of a device that is gone, and then takes it out: who learns from the list
  /// that there is no such device learns it no sooner than the listener.
  void remove(t_handle handle);

  void setDeviceId(t_handle handle, const std::string& deviceId);
  void setRemovalListener(RemovalListener replacement) { listener = replacement; }

 private:
  DeviceList() = default;

  Mutex mutex;
  t_handle lastHandle ORVEL_GUARDED_BY(mutex) = 0;
  std::map<t_handle, std::shared_ptr<Device>> devices ORVEL_GUARDED_BY(mutex);
  std::map<std::string, t_handle> deviceIds ORVEL_GUARDED_BY(mutex);
  std::atomic<RemovalListener> listener{nullptr};
};

}  // namespace orvel
