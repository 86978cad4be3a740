#pragma once

#include <orvel/DeviceHandle.h>
#include <orvel/Export.h>

#include <cstddef>
#include <memory>

namespace orvel {

/// Which MTP devices are connected, and which are ready to be read. One instance per process; every
/// operation may be called from any thread and with any lock held.
class ORVEL_EXPORT MtpDevice {
 public:
  static MtpDevice& instance();

  /// Marks the device connected and not ready. An earlier readiness is forgotten.
  void setDeviceConnected(std::size_t handle);
  /// Marks the device ready and wakes everybody who waits for readiness.
  void setDeviceReady(std::size_t handle);
  /// Records the removal: every loop over the device ends at its next item.
  void disconnectDevice(std::size_t handle);
  [[nodiscard]] bool isDeviceConnected(std::size_t handle);
  [[nodiscard]] bool isDeviceReady(std::size_t handle);

  /// Waits once, at most 25 seconds, for a readiness to be reported, also when the device is ready
  /// already; the readiness of another device or a stop of the calling stage ends the wait, too.
  /// Returns whether this device is ready then. A device that is not connected is not waited for.
  bool waitDeviceReady(std::size_t handle);

  MtpDevice(const MtpDevice&) = delete;
  MtpDevice& operator=(const MtpDevice&) = delete;

 private:
  MtpDevice();
  ~MtpDevice();

  struct State;

  std::unique_ptr<State> state;
};

}  // namespace orvel
