#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvel::stick {

enum class PlaylistKind { M3u, M3u8, Pls, Asx, Wpl };

struct PlaylistEntry {
  std::string target;  ///< as written to the file: relative, with "/" or "\", or a URI
  std::string title;
};

/// The usual extension, including the dot.
std::string_view extension(PlaylistKind kind);

/// The text of a playlist file, its lines ended by "\n".
std::string playlistText(PlaylistKind kind, const std::string& title,
                         const std::vector<PlaylistEntry>& entries);

/// The same text with its lines ended by "\r\n".
std::string withDosLineEnds(const std::string& text);

}  // namespace orvel::stick
