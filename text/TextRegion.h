#pragma once

#include "base/Export.h"

namespace orvel {

/// Where a device's music probably comes from. In doubt the encodings of that region are preferred;
/// clear cases do not change.
enum class TextRegion : unsigned char {
  Neutral,
  CentralEurope,
  Turkey,
  Baltic,
  Vietnam,
  EasternEurope,
  Greece,
  Arabia,
  Israel,
  Thailand,
  China,
  Taiwan,
  Japan,
  Korea
};

/// Chooses the region for the tracks that are guessed from now on; at start it is neutral. Any
/// thread, at any time.
ORVEL_EXPORT void setTextRegion(TextRegion region) noexcept;

}  // namespace orvel
