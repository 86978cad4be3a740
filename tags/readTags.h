#pragma once

#include "tags/TagResult.h"
#include "tags/TagStream.h"

namespace orvel {

/// How much of a file is looked at.
enum class ReadingDepth : bool {
  Tag,
  TagAndAudio  ///< the audio's properties, too: a file without any is no audio file
};

/// Reads the tag of the file behind `stream` on this thread. Throws std::exception when the parser
/// does.
TagResult readTags(TagStream& stream, ReadingDepth depth);

}  // namespace orvel
