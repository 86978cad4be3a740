#pragma once

#include "tags/TagResult.h"
#include "tags/TagStream.h"

namespace orvel {

/// Looks for the picture of a file on the calling thread, see `ReadingGoal::Picture`. Throws
/// std::exception when the parser does.
TagResult readPicture(TagStream& stream);

}  // namespace orvel
