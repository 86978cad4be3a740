#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// Returns `text` up to its first NUL as well-formed UTF-8, with U+FFFD for ill-formed parts, cut
/// between characters to fit kAccessTextBytes.
std::string accessText(std::string_view text);

}  // namespace orvel
