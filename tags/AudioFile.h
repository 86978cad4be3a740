#pragma once

#include <cstdint>
#include <string>

#include "base/Descriptor.h"

namespace orvel {

/// An audio file that is open for reading.
struct AudioFile {
  /// Opens the regular file at `path` read-only and has the kernel fetch its begin and its end,
  /// without a wait and nothing beyond; a failure leaves the descriptor empty.
  static AudioFile open(const std::string& path);

  Descriptor descriptor;
  std::int64_t bytes = 0;
  bool deviceFailed = false;  ///< why it is not open
};

}  // namespace orvel
