#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "db/FileInfo.h"
#include "db/MetaDataInfo.h"
#include "framework/RequestProgress.h"
#include "framework/Server.h"
#include "tags/TagReader.h"
#include "tags/isolation/makeTagReader.h"

namespace orvel {

class MtpConnection;

/// Makes the song records of new and changed tracks of an MTP device.
class MtpMiner : public Server<Block<FileInfo*>, Block<MetaDataInfo*>> {
 public:
  explicit MtpMiner(const char* stageName, TagReaderFactory makeReader = makeTagReader);

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  void mineTracks(const Block<FileInfo*>& tracks, sink_block_type_ptr& songs);
  /// Adds the song of a track. Returns the reason when the tracks after it cannot be read either.
  static std::unique_ptr<MetaDataInfo> readTrack(const FileInfo& track, MtpConnection& connection,
                                                 const std::string& mountPoint);
  std::optional<LeftUndone> mine(const FileInfo& track, MtpConnection& connection,
                                 Block<MetaDataInfo*>& songs);
  std::optional<LeftUndone> mineGuarded(const FileInfo& track, MtpConnection& connection,
                                        Block<MetaDataInfo*>& songs);
  /// Takes back that songs are stored for good although they could not be read: the device failed.
  void readAgain(Block<MetaDataInfo*>& songs, LeftUndone reason);

  TagReaderFactory makeReader;
  /// Songs of this block that two requests could not read, since the last one that could be read.
  std::vector<MetaDataInfo*> failedTwice;
  std::unique_ptr<TagReader> reader;  ///< from the first block of a request to its last
};

}  // namespace orvel
