#pragma once

#include <string>

namespace orvel::stick {

/// Converts UTF-8 `text` to an old 8-bit or multi-byte character set, named as by `iconv -l`.
/// @throws std::invalid_argument if the set is unknown or lacks a character of the text.
std::string legacyText(const std::string& text, const std::string& charset);

}  // namespace orvel::stick
