#pragma once

#include "platform/tags/TagResult.h"
#include "platform/tags/TagStream.h"

namespace orvel {

/// Reads the tag of the file behind `stream` on this thread. Throws std::exception when the tag
/// reader does.
TagResult readTags(TagStream& stream);

}  // namespace orvel
