#pragma once

#include <libmtp.h>

#include <cstdint>

namespace orvel {

/// The failures that libmtp noted for a device since they were last taken. Of a refusal where data
/// was expected libmtp notes only that no data came.
struct NotedErrors {
  bool any = false;
  /// The last code noted; 0 for none. The device's own response codes begin with 0x2001.
  std::uint16_t code = 0;
  /// The device was not reached or did not answer in time.
  bool transportFailed = false;
};

/// Returns the device's errors and clears them.
NotedErrors takeErrors(LIBMTP_mtpdevice_t* device);

}  // namespace orvel
