#pragma once

#include <libmtp.h>

#include <cstdint>

namespace orvel {

/// What libmtp noted down about failures of the calls since it was last asked. It is the only word
/// about most of them, and not a very exact one: of a refusal with data expected it knows only that
/// no data came.
struct NotedErrors {
  bool any = false;
  /// The last code that was noted; 0 for none. Those of the device itself begin with 0x2001.
  std::uint16_t code = 0;
  /// The device was not reached or did not answer in time: it need not have refused anything.
  bool transportFailed = false;
};

/// Takes the notes away from the device.
NotedErrors takeErrors(LIBMTP_mtpdevice_t* device);

}  // namespace orvel
