#pragma once

#include "db/Playlist.h"
#include "framework/ServerDB.h"

namespace orvel {

/// Writes one row per playlist entry, one transaction per block. Stores the last entry of each
/// playlist twice, as hosts expect; `VIEW_PLAYLISTENTRIES` leaves the repeat out.
class PlaylistSaver : public ServerDB<Block<Playlist*>, Block<void>> {
 public:
  using ServerDB::ServerDB;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;
};

}  // namespace orvel
