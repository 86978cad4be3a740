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

/// The bus that devices are attached to. Each implementation of device access defines these
/// functions, and a program links one implementation: `libmtp/` for real devices, `scripted/` for
/// described ones. Any thread.
namespace orvel::deviceBus {

struct BusDevice {
  std::string path;  ///< for example "001-004"; changes with every attachment
  std::uint16_t vendor = 0;
  std::uint16_t product = 0;
};

/// Lists the devices on the bus. Throws std::runtime_error with a text for people.
std::vector<BusDevice> scan();
/// Makes a session that is not open yet.
std::unique_ptr<DeviceSession> connect(const BusDevice& device);
/// Makes the calls of Access.h for a device, which outlives them. May be a derived class.
std::unique_ptr<DeviceCalls> callsOf(Device& device);
/// Whether a device is still on the bus. Makes no request to it.
bool isPresent(const std::string& path);

}  // namespace orvel::deviceBus
