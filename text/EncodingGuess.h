#pragma once

#include <span>
#include <string_view>

#include "text/Encoding.h"
#include "text/TextRegion.h"

namespace orvel {

/// Guesses the encoding that the texts of one track share.
/// @param texts        at most `TrackScore::kMaxTexts`, each with bytes outside ASCII
/// @param unicodeSeen  true when another text of the track came as Unicode: its tagger knows about
///                     encodings, so anything but windows-1252 is improbable
/// @param region       its encodings win in doubtful cases
Encoding guessEncoding(std::span<const std::string_view> texts, bool unicodeSeen,
                       TextRegion region);

}  // namespace orvel
