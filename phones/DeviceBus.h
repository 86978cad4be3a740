#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "phones/DeviceSession.h"

namespace orvel {

class Device;
class DeviceCalls;

}  // namespace orvel

/// Where devices are attached. Declared once and defined by each implementation of device access,
/// of which a program links one: `libmtp/` for real devices, `scripted/` for described ones. Any
/// thread.
namespace orvel::deviceBus {

struct BusDevice {
  std::string path;  ///< as "001-004"; another one each time that a device is attached
  std::uint16_t vendor = 0;
  std::uint16_t product = 0;
};

/// "libmtp" or "scripted".
const char* libraryName();
/// The devices on the bus now. Throws std::runtime_error with a text for people.
std::vector<BusDevice> scan();
/// A connection that is not open yet.
std::unique_ptr<DeviceSession> connect(const BusDevice& device);
/// The calls of Access.h for a device; the device outlives them.
std::unique_ptr<DeviceCalls> callsOf(Device& device);
/// Whether a device is still on the bus; does not talk to it.
bool isPresent(const std::string& path);
/// See `attachScriptedDevices`.
void attachScripted(const std::string& file);

}  // namespace orvel::deviceBus
