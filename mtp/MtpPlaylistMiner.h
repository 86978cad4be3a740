#pragma once

#include "db/FileInfo.h"
#include "db/Playlist.h"
#include "framework/Server.h"

namespace orvel {

/// Makes the records of new and changed playlists of an MTP device.
class MtpPlaylistMiner : public Server<Block<FileInfo*>, Block<Playlist*>> {
 public:
  using Server::Server;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;
};

}  // namespace orvel
