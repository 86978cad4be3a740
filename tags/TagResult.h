#pragma once

#include <cstdint>

#include "tags/TagValues.h"

namespace orvel {

/// The result of reading the tag of one file.
struct TagResult {
  enum class Outcome : std::uint8_t {
    Tagged,        ///< `values` hold the tag
    Untagged,      ///< the file is sound, but has no tag
    Unreadable,    ///< the file cannot be opened or parsed
    DeviceFailed,  ///< the device could not deliver the file; `values` hold the texts read so far
    Interrupted,   ///< the stage was stopped before the file was read
    Stalled,       ///< the device does not answer; the file was not read
    // The reader reads neither this file nor the ones that follow, because
    ReaderLost,  ///< it cannot be started again
    GivenUp,     ///< earlier files ended it, or kept it busy, too often
    NotIsolated  ///< isolation is required, but not to be had
  };

  Outcome outcome = Outcome::Unreadable;
  TagValues values = {};
};

}  // namespace orvel
