#include <stdexcept>

#include "phones/DeviceBus.h"
#include "phones/DeviceCalls.h"
#include "phones/libmtp/LibmtpLibrary.h"
#include "phones/libmtp/LibmtpSession.h"

namespace orvel {

std::vector<deviceBus::BusDevice> deviceBus::scan() {
  const UsbBus bus;
  const MutexLock lock(libmtp::libraryMutex());
  const libmtp::RawDevices attached = libmtp::detectDevices();
  std::vector<BusDevice> devices;
  for (int i = 0; i < attached.count; ++i) {
    const LIBMTP_raw_device_t& raw = attached.first.get()[i];
    const UsbAddress address{raw.bus_location, raw.devnum};
    if (!bus.has(address)) continue;
    devices.push_back({address.path(), raw.device_entry.vendor_id, raw.device_entry.product_id});
  }
  return devices;
}

std::unique_ptr<DeviceSession> deviceBus::connect(const BusDevice& device) {
  const auto address = UsbAddress::parse(device.path);
  if (!address) throw std::runtime_error("\"" + device.path + "\" is no place on the USB bus.");
  return std::make_unique<LibmtpSession>(*address);
}

std::unique_ptr<DeviceCalls> deviceBus::callsOf(Device& device) {
  return std::make_unique<DeviceCalls>(device);
}

bool deviceBus::isPresent(const std::string& path) {
  const auto address = UsbAddress::parse(path);
  try {
    return address && UsbBus().has(*address);
  } catch (const std::runtime_error&) {
    return true;  // unknown while the bus cannot be read
  }
}

}  // namespace orvel
