#pragma once

#include <memory>

#include "db/FileInfo.h"
#include "db/Playlist.h"
#include "framework/Server.h"
#include "msd/MountPointWatch.h"
#include "msd/PlaylistWrapper.h"
#include "msd/ReadFailures.h"

namespace orvel {

/// Reads new and changed playlist files. Schedules each parse on the host's GLib main loop (the
/// default context) and waits for it; a stop ends the wait. Reads each file itself beforehand, so
/// that a slow or broken device blocks the stage and not the host. Keeps at most 100000 entries of
/// one list and 500000 of a request; the lists that are cut are counted.
class MSDPlaylistMiner : public Server<Block<FileInfo*>, Block<Playlist*>> {
 public:
  explicit MSDPlaylistMiner(
      const char* stageName,
      std::shared_ptr<MountPointWatch> mountPointWatch = std::make_shared<MountPointWatch>(),
      std::shared_ptr<ReadFailures> readFailures = std::make_shared<ReadFailures>());

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  sink_block_type_ptr sendAhead(const sink_block_type_ptr& playlists);
  bool isDatabaseFull(Operation& result);
  bool mine(const FileInfo& file, const std::shared_ptr<PlaylistWrapper>& wrapper,
            Block<Playlist*>& playlists);
  bool parse(const FileInfo& file, std::unique_ptr<Playlist>& playlist,
             const std::shared_ptr<PlaylistWrapper>& wrapper, Operation& result);
  bool deviceDelivers(const FileInfo& file, Operation& result);
  PlaylistWrapper::Parse parseOnMainLoop(std::unique_ptr<Playlist>& playlist,
                                         const std::shared_ptr<PlaylistWrapper>& wrapper);

  std::shared_ptr<MountPointWatch> watch;
  std::shared_ptr<ReadFailures> failures;
};

}  // namespace orvel
