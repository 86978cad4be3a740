#pragma once

#include "tags/readTags.h"

namespace orvel {

using ReadTags = TagResult (*)(TagStream& stream);

/// Confines this process, then reads the tags of every file that the library sends, with `read`,
/// until the library is gone. Returns the exit status.
/// @param carefully  see `workerProtocol::kCarefully`
int serveTags(ReadTags read, bool carefully);

}  // namespace orvel
