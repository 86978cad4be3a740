#pragma once

#include "tags/TagResult.h"
#include "tags/TagStream.h"

namespace orvel {

/// Parses the tag and the audio properties of a file on the calling thread. Throws std::exception
/// when the parser does.
TagResult readTags(TagStream& stream);

/// Parses what `goal` names.
TagResult readFile(TagStream& stream, ReadingGoal goal);

}  // namespace orvel
