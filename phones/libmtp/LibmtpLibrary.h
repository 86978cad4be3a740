#pragma once

#include <libmtp.h>

#include <memory>
#include <string>

#include "base/Mutex.h"
#include "phones/libmtp/UsbBus.h"

/// Access to libmtp for the whole process.
namespace orvel::libmtp {

/// Guards libmtp's process-wide state: hold it to detect, open and release devices. Initialises
/// libmtp on first use.
Mutex& libraryMutex();

struct Free {
  void operator()(void* memory) const;
};
/// Owns memory that libmtp allocated for its caller.
template <class T>
using Allocated = std::unique_ptr<T, Free>;

/// Releases the device. Takes the library's mutex.
struct Release {
  void operator()(LIBMTP_mtpdevice_t* device) const;
};
using OpenDevice = std::unique_ptr<LIBMTP_mtpdevice_t, Release>;

/// An array of the media devices on the bus.
struct RawDevices {
  Allocated<LIBMTP_raw_device_t> first;
  int count = 0;
};

/// Throws std::runtime_error with a text for people when the bus cannot be read.
RawDevices detectDevices() ORVEL_REQUIRES(libraryMutex());
/// Null when there is no such device or it does not answer.
OpenDevice openDevice(const UsbAddress& address) ORVEL_REQUIRES(libraryMutex());

}  // namespace orvel::libmtp
