#pragma once

#include <orvel/DeviceHandle.h>
#include <orvel/Export.h>

#include <cstddef>
#include <memory>

namespace orvel {

template <class T>
class NoDestructor;

/// Records which MTP devices are connected and which are ready to be read. One instance per
/// process. Any thread may call it, with any lock held.
class ORVEL_EXPORT MtpDevice {
 public:
  static MtpDevice& instance();

  /// Marks the device connected and not ready.
  void setDeviceConnected(std::size_t handle);
  /// Marks the device ready and wakes every thread that waits for readiness.
  void setDeviceReady(std::size_t handle);
  /// Records the removal: every loop over the device ends at its next item, the wait for readiness
  /// at once.
  void disconnectDevice(std::size_t handle);
  [[nodiscard]] bool isDeviceConnected(std::size_t handle);
  [[nodiscard]] bool isDeviceReady(std::size_t handle);

  /// Waits for the next report of readiness, at most 25 seconds, and returns whether this device is
  /// ready then. Waits even if the device is ready already. The readiness of any device ends the
  /// wait, and so does a stop of the calling stage. Returns false at once for a device that is not
  /// connected.
  bool waitDeviceReady(std::size_t handle);

  MtpDevice(const MtpDevice&) = delete;
  MtpDevice& operator=(const MtpDevice&) = delete;

 private:
  friend class NoDestructor<MtpDevice>;

  MtpDevice();
  ~MtpDevice();

  struct State;

  std::unique_ptr<State> state;
};

}  // namespace orvel
