#pragma once

#include "platform/tags/TagResult.h"
#include "platform/tags/TagStream.h"

namespace orvel {

/// Serves the library that started this process: confines the process, then reads the tags of every
/// file that comes over the socket with `read`, until the library is gone. Returns the exit status.
int serveTags(TagResult (*read)(TagStream& stream));

}  // namespace orvel
