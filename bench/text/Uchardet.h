#pragma once

#include <string>

#include "text/TextEncoding.h"

namespace orvel {

/// Returns the encoding that uchardet detects for the joined texts of a track; "" if it detects
/// none.
std::string uchardetEncoding(const TrackRecord& track);

/// Decodes the five texts from an encoding of the C library and joins them with tabs; leaves those
/// declared as UTF-8 unchanged.
std::string textsRead(const TrackRecord& track, const std::string& encoding);

}  // namespace orvel
