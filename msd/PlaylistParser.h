#pragma once

#include <string>

#include "msd/PlaylistWrapper.h"

namespace orvel {

/// Parses the wrapper's playlist file into its playlist and announces the outcome. Does nothing if
/// the wrapper is abandoned. Call it on the thread of the GLib main loop, without the wrapper's
/// lock; never throws.
void extractPlaylist(PlaylistWrapper* wrapper);

/// Makes the URI of a playlist file for the parser. Escapes "%" and "#" and nothing else.
std::string playlistUri(const std::string& path);

/// Makes the track path of an entry: unescapes the URI, replaces every backslash by "/" and drops
/// as many characters as "file:///" has, whatever the scheme. Returns false if the URI cannot be
/// unescaped.
bool trackPathOf(const char* uri, std::string& trackPath);

}  // namespace orvel
