#pragma once

#include <string>
#include <vector>

namespace orvel {

/// The paths of the songs in a device's database, as far as they can be read at once. Creates,
/// changes and logs nothing.
std::vector<std::string> storedSongPaths(const std::string& deviceId);

}  // namespace orvel
