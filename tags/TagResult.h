#pragma once

#include <cstdint>

#include "tags/TagValues.h"

namespace orvel {

/// What became of reading the tag of one file.
struct TagResult {
  enum class Outcome : std::uint8_t {
    Tagged,        ///< `values` hold what the tag says
    Untagged,      ///< the file is sound, but has no tag
    Unreadable,    ///< the file cannot be opened or is none that tags can be read from
    DeviceFailed,  ///< the device could not deliver the file
    Interrupted,   ///< the stage was stopped: nothing is known of the file
    Stalled,       ///< the device does not answer: nothing is known of the file
    ReaderLost     ///< nothing is known of the file, nor will be of others
  };

  Outcome outcome = Outcome::Unreadable;
  TagValues values = {};
};

}  // namespace orvel
