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
    ReaderLost     ///< the reader cannot read this file, nor the ones that follow
  };

  Outcome outcome = Outcome::Unreadable;
  TagValues values = {};
};

}  // namespace orvel
