#pragma once

#include "tags/readTags.h"

namespace orvel {

using ReadTags = TagResult (*)(TagStream& stream, ReadingDepth depth);

/// Confines this process, then reads the tags of every file that the library sends, with `read`,
/// until the library is gone. Returns the exit status.
int serveTags(ReadTags read);

}  // namespace orvel
