#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// The form in which the device-access library hands a text out: UTF-8 with U+FFFD for ill-formed
/// parts, ended by the first NUL, and cut at a character's border to fit kAccessTextBytes.
std::string accessText(std::string_view text);

}  // namespace orvel
