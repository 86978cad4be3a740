#pragma once

#include <memory>

#include "db/Directory.h"
#include "db/FileInfo.h"
#include "framework/Server.h"
#include "msd/MSDWalk.h"
#include "msd/MountPointWatch.h"

namespace orvel {

/// The first stage of the mass-storage pipeline: walks the device and sends one block of song
/// files, one of playlist files and one of directories on. Reads listings and file status only.
class MSDCrawler : public Server<Block<Directory*>, Block<FileInfo*>> {
 public:
  explicit MSDCrawler(const char* stageName, std::shared_ptr<MountPointWatch> mountPointWatch =
                                                 std::make_shared<MountPointWatch>());

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;
  /// Tells the host that everything has been found.
  void signalCompletion(const Operation& operation) override;

  // Not owned; null feeds nobody.
  BaseServer<Block<FileInfo*>>*& songSink = sink;  ///< the ordinary sink under its own name
  BaseServer<Block<FileInfo*>>* playlistSink = nullptr;
  BaseServer<Block<Directory*>>* directorySink = nullptr;

 private:
  [[nodiscard]] WalkGoesOn walkGoesOn() const;
  void sendBranches(const src_block_type_ptr& directories, const sink_block_type_ptr& playlists);

  std::shared_ptr<MountPointWatch> watch;
};

}  // namespace orvel
