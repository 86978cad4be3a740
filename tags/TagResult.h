#pragma once

#include <cstdint>
#include <string>

#include "tags/TagValues.h"

namespace orvel {

/// What is read of a file.
enum class ReadingGoal : std::uint8_t {
  Tags,    ///< the tag and the audio properties
  Picture  ///< the best picture in a song; of a file that is named like a picture, all of it
};

/// The picture of one file.
struct FoundPicture {
  std::string bytes;       ///< empty for none; otherwise `pictureHeaderOf` accepts them
  bool isRefused = false;  ///< there are pictures, but none that may be handed out
};

/// The result of reading one file.
struct TagResult {
  enum class Outcome : std::uint8_t {
    Tagged,        ///< `values` hold the tag, or `picture` the picture if there is one
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
  FoundPicture picture = {};
};

}  // namespace orvel
