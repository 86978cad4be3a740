#pragma once

#include <libmtp.h>

#include <memory>
#include <string>

#include "base/Mutex.h"
#include "phones/libmtp/UsbBus.h"

/// libmtp as this process uses it.
namespace orvel::libmtp {

/// Guards the state that libmtp keeps for all devices: held while devices are looked for, opened
/// and released. Initialises libmtp when first asked for.
Mutex& libraryMutex();

struct Free {
  void operator()(void* memory) const;
};
/// What libmtp allocated for its caller.
template <class T>
using Allocated = std::unique_ptr<T, Free>;

/// Gives the device free again.
struct Release {
  void operator()(LIBMTP_mtpdevice_t* device) const;
};
using OpenDevice = std::unique_ptr<LIBMTP_mtpdevice_t, Release>;

/// The media devices on the bus; the last one is followed by nothing: `count` tells how many.
struct RawDevices {
  Allocated<LIBMTP_raw_device_t> first;
  int count = 0;
};

/// Throws std::runtime_error with a text for people when the bus cannot be looked at.
RawDevices detectDevices() ORVEL_REQUIRES(libraryMutex());
/// Null when there is no such device or it does not answer.
OpenDevice openDevice(const UsbAddress& address) ORVEL_REQUIRES(libraryMutex());

}  // namespace orvel::libmtp
