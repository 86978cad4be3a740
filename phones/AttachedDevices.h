#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Export.h"
#include "phones/DeviceTypes.h"

/// What a host needs of the device-access library: which devices are attached and how they are
/// named. Any thread; the calls may wait for a device, up to 20 seconds for one that hangs.
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
  /// Names the device wherever and whenever it is attached: "vendor:product:serial", the ids as
  /// four hex digits; the bus path in place of an empty serial.
  std::string deviceId;
  std::vector<DeviceStorage> storages;  ///< none when the device is locked
  std::string error;                    ///< for people: why it could not be opened; else empty
};

/// Name of the library that is linked: "libmtp" or "scripted".
ORVEL_EXPORT const char* deviceAccessLibrary();

/// All attached devices in the order of their handles. Opens those that are not open yet. Throws
/// std::runtime_error with a text for people when devices cannot be looked for at all.
ORVEL_EXPORT std::vector<AttachedDevice> attachedDevices();

/// The storages that the device shows now; none when it is locked, unknown or gone.
ORVEL_EXPORT std::vector<DeviceStorage> storagesOf(t_handle handle);

/// False once the device is detached. Does not talk to the device and does not wait for it.
ORVEL_EXPORT bool isAttached(t_handle handle);

/// Notes under which id the host indexes the device; a later handle replaces an earlier one.
ORVEL_EXPORT void setDeviceId(t_handle handle, const std::string& deviceId);

/// The object that carries a stored object identifier on the device as it is attached now, for
/// whoever plays it; nothing when there is none.
ORVEL_EXPORT std::optional<t_track_id> findObject(const std::string& deviceId,
                                                  const std::string& objectId);

/// Ends the session with every open device, as a host does before it ends; waits at most half a
/// second for devices that are in a call.
ORVEL_EXPORT void releaseDevices();

/// Attaches the devices that a text file describes (docs/mtp.md). Throws std::runtime_error with a
/// text for people: the scripted library names the faulty line, every other one says that it reads
/// real devices only.
ORVEL_EXPORT void attachScriptedDevices(const std::string& file);

}  // namespace orvel
