#pragma once

#include <string>

#include "msd/PlaylistWrapper.h"

namespace orvel {

/// Parses the wrapper's playlist file and announces the end, whatever it is. Runs on the GLib main
/// loop; does nothing when the wrapper was abandoned. A file that cannot be parsed leaves the
/// playlist as it is.
void extractPlaylist(PlaylistWrapper* wrapper);

/// The URI by which a playlist file is parsed: only "%" and "#" are escaped, everything else is
/// taken as it stands.
std::string playlistUri(const std::string& path);

/// The track path of an entry: the unescaped URI with "/" for every back-slash, less the length of
/// "file:///", whatever its scheme. Returns false for a URI that cannot be unescaped.
bool trackPathOf(const char* uri, std::string& trackPath);

}  // namespace orvel
