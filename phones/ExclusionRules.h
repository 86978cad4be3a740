#pragma once

#include <string_view>

namespace orvel {

/// Whether the file or a folder on its path is hidden, that is, has a name that begins with a dot.
bool isHiddenPath(std::string_view path);

/// Whether a name of at least four characters ends in "ogg", in any letter case.
bool hasExcludedEnding(std::string_view name);

}  // namespace orvel
