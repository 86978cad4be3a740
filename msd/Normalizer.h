#pragma once

#include "db/FileInfo.h"
#include "framework/Server.h"

namespace orvel {

/// Cuts a block of files into blocks of at most `kBatchSize`, which bounds the memory and the
/// transactions of the stages after it. Keeps the order; only the last block carries LAST.
class Normalizer : public Server<Block<FileInfo*>, Block<FileInfo*>> {
 public:
  static constexpr std::size_t kBatchSize = 500;

  using Server::Server;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  static sink_block_type_ptr takeBatch(Block<FileInfo*>& block, std::size_t begin);
};

}  // namespace orvel
