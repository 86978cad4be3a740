#pragma once

#include <cstdint>
#include <string>

#include "base/Descriptor.h"
#include "base/DeviceRoot.h"

namespace orvel {

/// An audio file that is open for reading.
struct AudioFile {
  /// Opens the regular file at `path` read-only and asks the kernel to prefetch its beginning and
  /// its end, without waiting. On failure the descriptor is empty.
  static AudioFile open(const DeviceRoot& device, const std::string& path);

  Descriptor descriptor;
  std::int64_t bytes = 0;
  bool deviceFailed = false;  ///< true when the device is the reason that it is not open
};

}  // namespace orvel
