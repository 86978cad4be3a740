#pragma once

#include "tags/readTags.h"

namespace orvel {

using ReadTags = TagResult (*)(TagStream& stream, ReadingDepth depth);

/// Serves the library that started this process: confines the process, then reads the tags of every
/// file that comes over the socket with `read`, until the library is gone. Returns the exit status.
int serveTags(ReadTags read);

}  // namespace orvel
