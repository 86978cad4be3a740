#pragma once

#include <string>
#include <string_view>

namespace orvel::hotplug {

/// Texts that a stranger wrote onto a device.

/// Makes a text safe to show: valid UTF-8 of at most 128 characters, on one line, without control
/// characters and marks that reorder the line.
std::string shownText(std::string_view text);

/// Resolves the escapes ("\x20") in a property of the device manager whose name ends in "_ENC".
std::string unescapedProperty(std::string_view text);

}  // namespace orvel::hotplug
