#pragma once

#include <span>
#include <string_view>

#include "text/Encoding.h"
#include "text/TextRegion.h"

namespace orvel {

/// The encoding that the texts of one track most probably have in common.
/// @param texts        at most `TrackScore::kMaxTexts`, each with bytes outside ASCII
/// @param unicodeSeen  another text of the track came as Unicode, from a tagger that knows about
///                     encodings: anything but windows-1252 is improbable
/// @param region       whose encodings are preferred in doubt
Encoding guessEncoding(std::span<const std::string_view> texts, bool unicodeSeen,
                       TextRegion region);

}  // namespace orvel
