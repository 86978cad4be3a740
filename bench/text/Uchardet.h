#pragma once

#include <string>

#include "text/TextEncoding.h"

namespace orvel {

/// The encoding that uchardet finds for the texts of a track, joined; "" when it finds none.
std::string uchardetEncoding(const TrackRecord& track);

/// The five texts read in an encoding of the C library, with tabs between them; those claimed as
/// UTF-8 as they are.
std::string textsRead(const TrackRecord& track, const std::string& encoding);

}  // namespace orvel
