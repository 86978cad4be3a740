#include <unistd.h>

#include "playlists/parsePlaylist.h"
#include "playlists/reader/servePlaylists.h"

/// The worker: parses playlists for the library that started it.
int main(int argumentCount, char** /*arguments*/) {
  // Skips clean-up, which needs system calls that the confinement forbids.
  _exit(orvel::servePlaylists(
      [](const orvel::playlistMessages::Request& request, const orvel::OnPlaylistEntry& onEntry) {
        return orvel::parsePlaylist(request.path, onEntry);
      },
      argumentCount > 1));
}
