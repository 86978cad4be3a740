#include "playlists/isolation/makePlaylistReader.h"

#include <utility>

#include "playlists/MainLoopPlaylistReader.h"

namespace orvel {

std::unique_ptr<PlaylistReader> makePlaylistReader(std::stop_token token) {
  return std::make_unique<MainLoopPlaylistReader>(std::move(token));
}

}  // namespace orvel
