#pragma once

#include "playlists/PlaylistWrapper.h"

namespace orvel {

/// Parses the wrapper's playlist file into its playlist and announces the outcome. Does nothing if
/// the wrapper is abandoned. Call it on the thread of the GLib main loop, without the wrapper's
/// lock; never throws.
void extractPlaylist(PlaylistWrapper* wrapper);

}  // namespace orvel
