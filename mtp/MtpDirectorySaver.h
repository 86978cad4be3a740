#pragma once

#include "db/MtpDirectory.h"
#include "framework/DirectoryTableSaver.h"

namespace orvel {

/// Stores the directories of an MTP device that hold tracks. Leaves the table alone after a crawl
/// that was cut short.
class MtpDirectorySaver : public DirectoryTableSaver<MtpDirectory*> {
 public:
  using DirectoryTableSaver::DirectoryTableSaver;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 protected:
  void insertRows(const Block<MtpDirectory*>& block) override;

 private:
  /// Adds the stored directories that may still be on the device, and those above them. Requires
  /// open streams.
  void keepDoubtful(Block<MtpDirectory*>& block, Operation& result);
};

}  // namespace orvel
