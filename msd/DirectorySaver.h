#pragma once

#include "db/Directory.h"
#include "framework/DirectoryTableSaver.h"

namespace orvel {

/// Stores the directories of a mount point that hold music, directly or below.
class DirectorySaver : public DirectoryTableSaver<Directory*> {
 public:
  using src_block_type = Block<Directory*>;
  using DirectoryTableSaver::DirectoryTableSaver;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

  /// Sets `hasMusic` on every ancestor of a directory with music. Throws std::out_of_range when a
  /// parent index lies outside the block.
  void propagateMusicPresence(src_block_type* block) const;

 protected:
  void insertRows(const src_block_type& block) override;
};

}  // namespace orvel
