#pragma once

#include <orvel/Cover.h>

#include <stop_token>

#include "tags/TagReader.h"

namespace orvel {

/// Fetches the cover of a song on the calling thread.
/// @param reader   reads pictures, until `stopped` is raised
Cover::Result fetchCover(TagReader& reader, const Cover::Song& song,
                         const std::stop_token& stopped);

}  // namespace orvel
