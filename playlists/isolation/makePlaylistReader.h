#pragma once

#include <memory>
#include <stop_token>

#include "playlists/PlaylistReader.h"

namespace orvel {

/// Makes a reader of the kind that the host has chosen for tags (`setTagReading`). Its work ends
/// early when `token` is raised. Any thread.
std::unique_ptr<PlaylistReader> makePlaylistReader(std::stop_token token);

}  // namespace orvel
