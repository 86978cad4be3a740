#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Converts a text that was encoded as UTF-8 two or three times: each time but the first, the bytes
/// were taken for characters of windows-1252 or ISO-8859-1.
/// @return the text as it was in the beginning; nothing when the bytes are not such a text
std::optional<std::string> repeatedUtf8(std::string_view bytes);

}  // namespace orvel
