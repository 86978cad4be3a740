#pragma once

#include <memory>
#include <stop_token>

#include "playlists/PlaylistReader.h"
#include "playlists/PlaylistWrapper.h"

namespace orvel {

/// Parses on the host's GLib main loop (the default context) and waits for it. Keeps files from the
/// parser that it would not survive.
class MainLoopPlaylistReader : public PlaylistReader {
 public:
  explicit MainLoopPlaylistReader(std::stop_token token);

  Outcome read(const Descriptor& file, std::unique_ptr<Playlist>& playlist,
               std::size_t mostEntries) override;
  [[nodiscard]] std::optional<Confinement> confinement() const override {
    return Confinement::None;
  }

 private:
  PlaylistWrapper::Parse parse(std::unique_ptr<Playlist>& playlist) const;

  std::stop_token stopped;
  std::shared_ptr<PlaylistWrapper> wrapper;
};

}  // namespace orvel
