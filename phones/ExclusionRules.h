#pragma once

#include <string_view>

namespace orvel {

/// Whether the file or any folder on its path is hidden: its name begins with a dot.
bool isHiddenPath(std::string_view path);

/// Whether a name is left out for its ending: "ogg" in any letter case, at the end of at least four
/// characters.
bool hasExcludedEnding(std::string_view name);

}  // namespace orvel
