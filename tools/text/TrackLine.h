#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Guesses the encoding of one track given as a line of text.
/// @param line  title, artist, album, genre and composer as five fields with tabs between them, each
///              the bytes of a text in hexadecimal that a tag claims to be ISO-8859-1, or UTF-8 with
///              "u:" in front; an empty field is an absent text
/// @return the five texts in UTF-8 with tabs between them and blanks for control characters; nothing
///         when the line is malformed. Throws std::bad_alloc when memory ran out.
std::optional<std::string> guessTrackLine(std::string_view line);

}  // namespace orvel
