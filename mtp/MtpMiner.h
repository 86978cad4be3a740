#pragma once

#include <memory>

#include "db/FileInfo.h"
#include "db/MetaDataInfo.h"
#include "framework/Server.h"
#include "tags/TagReader.h"
#include "tags/isolation/makeTagReader.h"

namespace orvel {

/// Makes the song records of new and changed tracks of an MTP device.
class MtpMiner : public Server<Block<FileInfo*>, Block<MetaDataInfo*>> {
 public:
  explicit MtpMiner(const char* stageName, TagReaderFactory makeReader = makeTagReader);

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  void mineTracks(const Block<FileInfo*>& tracks, Block<MetaDataInfo*>& songs);

  TagReaderFactory makeReader;
  std::unique_ptr<TagReader> reader;  ///< from the first block of a request to its last
};

}  // namespace orvel
