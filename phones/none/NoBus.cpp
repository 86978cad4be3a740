#include <stdexcept>

#include "phones/DeviceBus.h"
#include "phones/DeviceCalls.h"

namespace orvel {

std::vector<deviceBus::BusDevice> deviceBus::scan() {
  throw std::runtime_error(
      "This build has no libmtp and reaches no real devices. Build it where libmtp is installed, or"
      " describe devices with orvel-scripted and --scripted FILE.");
}

std::unique_ptr<DeviceSession> deviceBus::connect(const BusDevice& device) {
  throw std::runtime_error("\"" + device.path + "\" cannot be reached by a build without libmtp.");
}

std::unique_ptr<DeviceCalls> deviceBus::callsOf(Device& device) {
  return std::make_unique<DeviceCalls>(device);
}

bool deviceBus::isPresent(const std::string& /*path*/) {
  return false;
}

}  // namespace orvel
