#pragma once

#include <string>

namespace orvel::host {

/// Why `folder` cannot be listed, for people and with the remedy; empty if it can. May wait for a
/// disk.
std::string obstacleToReading(const std::string& folder);

}  // namespace orvel::host
