#pragma once

#include "db/FileInfo.h"
#include "db/MetaDataInfo.h"
#include "framework/Server.h"

namespace orvel {

/// Makes the records of new and changed tracks of an MTP device.
class MtpMiner : public Server<Block<FileInfo*>, Block<MetaDataInfo*>> {
 public:
  explicit MtpMiner(const char* stageName) : Server(stageName, kMiningStackBytes) {}

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  void mineTracks(const Block<FileInfo*>& tracks, Block<MetaDataInfo*>& songs);
};

}  // namespace orvel
