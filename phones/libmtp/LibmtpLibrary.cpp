#include "phones/libmtp/LibmtpLibrary.h"

#include <cstdlib>
#include <stdexcept>

namespace orvel::libmtp {

Mutex& libraryMutex() {
  static auto* const shared = [] {
    LIBMTP_Init();
    return new Mutex;
  }();
  return *shared;
}

void Free::operator()(void* memory) const {
  std::free(memory);
}

void Release::operator()(LIBMTP_mtpdevice_t* device) const {
  const MutexLock lock(libraryMutex());
  LIBMTP_Release_Device(device);
}

RawDevices detectDevices() {
  LIBMTP_raw_device_t* first = nullptr;
  RawDevices found;
  const LIBMTP_error_number_t error = LIBMTP_Detect_Raw_Devices(&first, &found.count);
  found.first.reset(first);
  if (error == LIBMTP_ERROR_NO_DEVICE_ATTACHED) return {};
  if (error != LIBMTP_ERROR_NONE) {
    throw std::runtime_error("libmtp cannot look for devices (error " + std::to_string(error) +
                             "). Is /dev/bus/usb accessible?");
  }
  return found;
}

OpenDevice openDevice(const UsbAddress& address) {
  const RawDevices attached = detectDevices();
  for (int i = 0; i < attached.count; ++i) {
    LIBMTP_raw_device_t& raw = attached.first.get()[i];
    if (UsbAddress{raw.bus_location, raw.devnum} != address) continue;
    return OpenDevice(LIBMTP_Open_Raw_Device_Uncached(&raw));
  }
  return nullptr;
}

}  // namespace orvel::libmtp
