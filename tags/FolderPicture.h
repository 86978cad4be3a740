#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace orvel {

/// Judges by its name whether a file is the cover of the songs in its folder: "cover", "folder",
/// "front" or "album" with the ending of a picture, in any letter case. Returns its rank among
/// several such files, the best being 0.
std::optional<std::size_t> rankOfFolderPicture(std::string_view name);

/// True for a name with the ending of a picture.
bool isPictureName(std::string_view name);

inline bool isFolderPicture(std::string_view name) {
  return rankOfFolderPicture(name).has_value();
}

}  // namespace orvel
