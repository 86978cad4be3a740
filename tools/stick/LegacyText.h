#pragma once

#include <string>

namespace orvel::stick {

/// UTF-8 `text` in an old 8-bit or multi-byte character set, as `iconv -l` names them.
/// @throws std::invalid_argument when the set is unknown or does not have a character of the text.
std::string legacyText(const std::string& text, const std::string& charset);

}  // namespace orvel::stick
