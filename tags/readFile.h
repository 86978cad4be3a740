#pragma once

#include "tags/TagResult.h"
#include "tags/TagStream.h"

namespace orvel {

/// Parses what `goal` names on the calling thread: the tag and the audio properties, or the
/// picture. Any thread; different files at the same time. Throws std::exception when the parser
/// does.
TagResult readFile(TagStream& stream, ReadingGoal goal);

}  // namespace orvel
