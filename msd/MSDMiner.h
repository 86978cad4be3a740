#pragma once

#include <memory>
#include <optional>

#include "db/FileInfo.h"
#include "db/MetaDataInfo.h"
#include "framework/Server.h"
#include "msd/MountPointWatch.h"
#include "tags/SongTag.h"
#include "tags/TagReader.h"

namespace orvel {

/// Reads the tags of new and changed songs of a mass-storage device. A file whose tags cannot be
/// read still becomes a song, with empty texts. When the device was the reason the song has the
/// modification time -1, so that the next request reads it again.
class MSDMiner : public Server<Block<FileInfo*>, Block<MetaDataInfo*>> {
 public:
  explicit MSDMiner(
      const char* stageName,
      std::shared_ptr<MountPointWatch> mountPointWatch = std::make_shared<MountPointWatch>(),
      TagReaderFactory makeReader = makeTagReader);

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  void expect(const Block<FileInfo*>& files);
  bool mineFiles(const Block<FileInfo*>& files, Block<MetaDataInfo*>& songs);
  std::optional<LeftUndone> mineGuarded(const FileInfo& file, const Operation& operation,
                                        Block<MetaDataInfo*>& songs);
  std::optional<LeftUndone> mine(const FileInfo& file, const Operation& operation,
                                 Block<MetaDataInfo*>& songs);
  static void addSong(const FileInfo& file, const Operation& operation, const SongTag& tag,
                      Block<MetaDataInfo*>& songs);
  std::optional<LeftUndone> mineUnreadable(const FileInfo& file, const Operation& operation,
                                           bool deviceFailed, Block<MetaDataInfo*>& songs);

  std::shared_ptr<MountPointWatch> watch;
  TagReaderFactory makeReader;
  std::unique_ptr<TagReader> reader;  ///< from the first file of a request to its last
};

}  // namespace orvel
