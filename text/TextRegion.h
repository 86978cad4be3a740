#pragma once

#include <orvel/Settings.h>

namespace orvel {

/// Chooses the region for the tracks that are guessed from now on. Any thread.
void setTextRegion(TextRegion region) noexcept;

}  // namespace orvel
