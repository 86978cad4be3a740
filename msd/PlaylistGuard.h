#pragma once

#include <string>

namespace orvel {

/// Why the playlist parser must not see the file at `path`: it would read on without an end, for
/// too long or beyond its memory, and it runs where the host's screen is drawn. Null when the file
/// is harmless, and when it cannot be opened, which is the parser's to report. A text for the log.
/// Any thread.
const char* harmOfPlaylist(const std::string& path);

}  // namespace orvel
