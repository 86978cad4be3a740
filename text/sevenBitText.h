#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Converts a text in one of the seven-bit encodings that switch between ASCII and codes of two
/// bytes: ISO-2022-JP, which switches with escape sequences, and HZ, which does with tildes.
/// @return the text in UTF-8, without a character that is cut off at the end; nothing when the
/// bytes
///         are not such a text from the first to the last
std::optional<std::string> sevenBitText(std::string_view bytes);

}  // namespace orvel
