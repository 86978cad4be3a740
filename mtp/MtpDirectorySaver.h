#pragma once

#include <string>
#include <vector>

#include "db/MtpDirectory.h"
#include "framework/ServerDB.h"

namespace orvel {

/// Keeps the DIRECTORIES table of an MTP device's database in step with the directories that hold
/// tracks. Rewrites it only when the set of directories has changed, and never from a crawl that
/// was cut short.
class MtpDirectorySaver : public ServerDB<Block<MtpDirectory*>, Block<void>> {
 public:
  using ServerDB::ServerDB;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  void save(const Block<MtpDirectory*>& block, Operation& result);
  void rewrite(const Block<MtpDirectory*>& block, Operation& result);
};

}  // namespace orvel
