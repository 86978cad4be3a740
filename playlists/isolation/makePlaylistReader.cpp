#include "playlists/isolation/makePlaylistReader.h"

#include <filesystem>
#include <utility>

#include "playlists/MainLoopPlaylistReader.h"
#include "playlists/isolation/IsolatedPlaylistReader.h"
#include "tags/TagReading.h"

namespace orvel {

std::unique_ptr<PlaylistReader> makePlaylistReader(std::stop_token token) {
  const ChosenTagReading chosen = chosenTagReading();
  if (chosen.reading == TagReading::InProcess) {
    return std::make_unique<MainLoopPlaylistReader>(std::move(token));
  }
  // Both programs are installed in one folder.
  const auto program =
      std::filesystem::path(chosen.reader).replace_filename("orvel-playlist-reader");
  return std::make_unique<IsolatedPlaylistReader>(std::move(token), program, chosen.reading);
}

}  // namespace orvel
