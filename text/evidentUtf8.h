#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Reads a text that is surely UTF-8: well-formed to its end, which may be cut off, with a sequence
/// of three bytes or more. Such sequences hardly occur in another encoding by chance.
/// @return the text without a character that is cut off; nothing when it may be something else
std::optional<std::string> evidentUtf8(std::string_view bytes);

}  // namespace orvel
