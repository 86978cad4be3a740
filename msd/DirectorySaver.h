#pragma once

#include <string>
#include <vector>

#include "db/Directory.h"
#include "framework/ServerDB.h"

namespace orvel {

/// Keeps the DIRECTORIES rows of a mount point in step with the directories that hold music,
/// directly or below. Rewrites them only when the set of such directories has changed.
class DirectorySaver : public ServerDB<Block<Directory*>, Block<void>> {
 public:
  using src_block_type = Block<Directory*>;
  using ServerDB::ServerDB;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

  /// Marks every ancestor of a directory with music. Throws std::out_of_range when a parent index
  /// lies outside the block.
  void propagateMusicPresence(src_block_type* block) const;

 private:
  void rewrite(const src_block_type& block, Operation& result);
};

}  // namespace orvel
