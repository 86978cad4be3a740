#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// Reduces a track's path to a form that all spellings of the path share: components resolved
/// lexically, no leading "/", case folded, NFC. Reads bytes that are not UTF-8 as ISO-8859-1.
/// Playlists spell one path in several ways, FAT ignores case, and some systems write NFD.
/// Idempotent. Any thread; remembers the last folder of each.
std::string trackKey(std::string_view path);

}  // namespace orvel
