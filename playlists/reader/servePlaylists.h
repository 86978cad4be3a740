#pragma once

#include "playlists/PlaylistMessages.h"
#include "playlists/parsePlaylist.h"

namespace orvel {

using ServeList = PlaylistVerdict (*)(const playlistMessages::Request& request,
                                      const OnPlaylistEntry& onEntry);

/// Confines this process, then parses every list that the library sends, with `parse`, until the
/// library is gone. Returns the exit status.
/// @param carefully  see `workerProtocol::kCarefully`
int servePlaylists(ServeList parse, bool carefully);

}  // namespace orvel
