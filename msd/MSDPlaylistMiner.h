#pragma once

#include <cstddef>
#include <memory>

#include "base/Descriptor.h"
#include "db/FileInfo.h"
#include "db/Playlist.h"
#include "framework/RequestProgress.h"
#include "framework/Server.h"
#include "msd/MountPointWatch.h"
#include "msd/ReadFailures.h"
#include "playlists/PlaylistReader.h"
#include "playlists/isolation/makePlaylistReader.h"

namespace orvel {

/// Reads new and changed playlist files. Reads each file itself before it is parsed, so that a slow
/// or broken device is told as such. Keeps at most 100000 entries of one list and 500000 of a
/// request; the lists that are cut are counted.
class MSDPlaylistMiner : public Server<Block<FileInfo*>, Block<Playlist*>> {
 public:
  explicit MSDPlaylistMiner(
      const char* stageName,
      std::shared_ptr<MountPointWatch> mountPointWatch = std::make_shared<MountPointWatch>(),
      std::shared_ptr<ReadFailures> readFailures = std::make_shared<ReadFailures>(),
      PlaylistReaderFactory readerFactory = makePlaylistReader);

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  sink_block_type_ptr mineFiles(const Block<FileInfo*>& files);
  bool isDatabaseFull(Operation& result);
  bool mine(const FileInfo& file, std::size_t mostEntries, Block<Playlist*>& playlists);
  bool parse(const Descriptor& file, std::unique_ptr<Playlist>& playlist, std::size_t mostEntries,
             Operation& result);
  bool deviceDelivers(const Descriptor& file, const std::string& path, Operation& result);
  bool noteFailure(int error, const std::string& path, Operation& result);

  std::shared_ptr<MountPointWatch> watch;
  std::shared_ptr<ReadFailures> failures;
  PlaylistReaderFactory makeReader;
  std::unique_ptr<PlaylistReader> reader;  ///< from the first file of a request to its last
};

}  // namespace orvel
