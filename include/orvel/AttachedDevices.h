#pragma once

#include <orvel/DeviceHandle.h>
#include <orvel/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Tells a host which devices are attached and how they are named. Any thread; calls may wait for a
/// device, more than a minute for one that hangs.
namespace orvel {

/// One storage of a device: its memory or a card.
struct DeviceStorage {
  std::uint32_t id = 0;
  std::string description;
  std::uint64_t capacityBytes = 0;
  std::uint64_t freeBytes = 0;
};

/// One attached device. A device keeps its handle until it is detached.
struct AttachedDevice {
  t_handle handle = 0;
  std::string maker;
  std::string model;
  std::string serial;  ///< empty where the device has none
  /// Identifies the device across attachments: "vendor:product:serial", the ids as four hexadecimal
  /// digits. The bus path replaces an empty serial.
  std::string deviceId;
  std::vector<DeviceStorage> storages;  ///< none when the device is locked
  std::string error;                    ///< for people: why it could not be opened; else empty
};

/// All attached devices in the order of their handles. Opens those that are not open yet. Throws
/// std::runtime_error with a text for people when the system cannot list devices.
ORVEL_EXPORT std::vector<AttachedDevice> attachedDevices();

/// The storages that the device shows now; none when it is locked, unknown or gone.
ORVEL_EXPORT std::vector<DeviceStorage> storagesOf(t_handle handle);

/// False once the device is detached. Does not talk to the device and does not wait for it.
ORVEL_EXPORT bool isAttached(t_handle handle);

/// Sets the id under which the host indexes the device. If two handles get one id, the later
/// counts.
ORVEL_EXPORT void setDeviceId(t_handle handle, const std::string& deviceId);

/// Finds the object that a stored object identifier (SONGS.OBJECTID) names on the attached device,
/// for playback; nothing when there is none.
ORVEL_EXPORT std::optional<t_track_id> findObject(const std::string& deviceId,
                                                  const std::string& objectId);

/// Ends the session with every open device. Call it before the process ends. Waits at most half a
/// second for devices that are in a call.
ORVEL_EXPORT void releaseDevices();

}  // namespace orvel
