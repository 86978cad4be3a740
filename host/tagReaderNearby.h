#pragma once

#include <string>

namespace orvel::host {

/// Finds the tag reader of this program's own build or installation. Empty if there is none: the
/// library then uses the place where it was to be installed.
std::string tagReaderNearby();

}  // namespace orvel::host
