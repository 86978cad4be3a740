#include "msd/Normalizer.h"

#include <algorithm>
#include <cassert>

#include "base/Log.h"
#include "base/Timer.h"

namespace orvel {

Normalizer::sink_block_type_ptr Normalizer::doOperation(src_block_type_ptr block) {
  const std::size_t files = block->items.size();
  OV_INFO("Normalizer for: %u (op: %d)", static_cast<unsigned>(files), block->operation.id);
  const Timer timer;
  if (files == 0) return boost::make_shared<Block<FileInfo*>>(block->operation);
  std::size_t begin = 0;
  for (; begin + kBatchSize < files; begin += kBatchSize) {
    const auto batch = takeBatch(*block, begin);
    batch->operation.last = false;
    if (sink != nullptr) sink->enqueue(batch);
  }
  auto finalBatch = takeBatch(*block, begin);
  finalBatch->operation.last = true;
  OV_INFO("Normalizer timer: %ld (op: %d)", timer.elapsedMs(), block->operation.id);
  return finalBatch;
}

/// Moves the next batch, which starts at `begin`, into a block of its own. Nulls each slot as it
/// takes the file, so that every file has exactly one owner even if an allocation fails.
Normalizer::sink_block_type_ptr Normalizer::takeBatch(Block<FileInfo*>& block, std::size_t begin) {
  assert(begin < block.items.size());
  const std::size_t end = std::min(begin + kBatchSize, block.items.size());
  auto batch = boost::make_shared<Block<FileInfo*>>(block.operation);
  batch->items.reserve(end - begin);
  for (std::size_t i = begin; i < end; ++i) {
    batch->items.push_back(block.items[i]);
    block.items[i] = nullptr;
  }
  return batch;
}

}  // namespace orvel
