#pragma once

#include <memory>

#include "db/FileInfo.h"
#include "db/Playlist.h"
#include "framework/Server.h"
#include "msd/MountPointWatch.h"
#include "msd/PlaylistWrapper.h"

namespace orvel {

/// Reads new and changed playlist files. Parsing runs on the host's GLib main loop (the default
/// context), which the stage waits for; a stop ends the wait. The stage reads each file itself
/// first, so that a slow or broken device holds the stage and not the host.
class MSDPlaylistMiner : public Server<Block<FileInfo*>, Block<Playlist*>> {
 public:
  explicit MSDPlaylistMiner(
      const char* stageName,
      std::shared_ptr<MountPointWatch> mountPointWatch = std::make_shared<MountPointWatch>());

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  bool mine(const FileInfo& file, const std::shared_ptr<PlaylistWrapper>& wrapper,
            Block<Playlist*>& playlists);
  bool deviceDelivers(const FileInfo& file, Block<Playlist*>& playlists);
  PlaylistWrapper::Parse parseOnMainLoop(std::unique_ptr<Playlist>& playlist,
                                         const std::shared_ptr<PlaylistWrapper>& wrapper);

  std::shared_ptr<MountPointWatch> watch;
};

}  // namespace orvel
