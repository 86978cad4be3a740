#pragma once

#include "tags/TagResult.h"
#include "tags/TagStream.h"

namespace orvel {

/// The parts of a file that are parsed.
enum class ReadingDepth : bool {
  Tag,
  TagAndAudio  ///< the audio properties as well; a file without any is no audio file
};

/// Parses the tag of a file on the calling thread. Throws std::exception when the parser does.
TagResult readTags(TagStream& stream, ReadingDepth depth);

}  // namespace orvel
