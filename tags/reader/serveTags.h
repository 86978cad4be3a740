#pragma once

#include "tags/readFile.h"

namespace orvel {

using ReadFile = TagResult (*)(TagStream& stream, ReadingGoal goal);

/// Confines this process, then reads every file that the library sends, with `read`, until the
/// library is gone. Returns the exit status.
/// @param carefully  see `workerProtocol::kCarefully`
int serveTags(ReadFile read, bool carefully);

}  // namespace orvel
