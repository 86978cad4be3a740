#pragma once

#include <memory>
#include <string>

#include "db/FileInfo.h"
#include "db/Playlist.h"
#include "framework/Server.h"
#include "msd/PlaylistWrapper.h"

namespace orvel {

/// Reads new and changed playlist files. Parsing runs on the host's GLib main loop (the default
/// context), which the stage waits for; a stop ends the wait.
class MSDPlaylistMiner : public Server<Block<FileInfo*>, Block<Playlist*>> {
 public:
  using Server::Server;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  std::unique_ptr<Playlist> mine(const FileInfo& file, const std::string& mountPoint,
                                 const std::shared_ptr<PlaylistWrapper>& wrapper);
};

}  // namespace orvel
