#pragma once

#include <array>
#include <span>
#include <string_view>

#include "text/Encoding.h"
#include "text/TextRegion.h"
#include "text/TrackScore.h"

namespace orvel {

/// The encodings of the texts of a track, in their order.
using TextEncodings = std::array<Encoding, TrackScore::kMaxTexts>;

/// Guesses the encodings of the texts of one track. They usually share one: a text gets another
/// when that explains it far better.
/// @param texts        at most `TrackScore::kMaxTexts`, each with bytes outside ASCII
/// @param context      the track's texts in ASCII, which speak for a language
/// @param unicodeSeen  true when another text of the track came as Unicode: its tagger knows about
///                     encodings, so anything but windows-1252 is improbable
/// @param region       its encodings win in doubtful cases
TextEncodings guessEncodings(std::span<const std::string_view> texts,
                             std::span<const std::string_view> context, bool unicodeSeen,
                             TextRegion region);

}  // namespace orvel
