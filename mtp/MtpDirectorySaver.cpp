#include "mtp/MtpDirectorySaver.h"

#include <algorithm>

#include "base/Timer.h"

namespace orvel {

namespace {

std::vector<std::string> idsOf(const Block<MtpDirectory*>& block) {
  std::vector<std::string> ids;
  ids.reserve(block.items.size());
  for (const MtpDirectory* directory : block.items) ids.push_back(directory->objectId.text());
  return ids;
}

}  // namespace

MtpDirectorySaver::sink_block_type_ptr MtpDirectorySaver::doOperation(src_block_type_ptr block) {
  OV_INFO("MtpDirectorySaver for: %u", static_cast<unsigned>(block->items.size()));
  const Timer timer;
  auto result = boost::make_shared<Block<void>>(block->operation);
  open(block->operation.deviceId);
  const ClosingScope closing(*this);
  if (!block->operation.skipped) {
    update(*block, {"", sql::kDeleteAllDirectories}, idsOf(*block), result->operation);
  }
  OV_INFO("MtpDirectorySaver timer: %ld", timer.elapsedMs());
  return result;
}

void MtpDirectorySaver::insertRows(const Block<MtpDirectory*>& block) {
  std::copy(block.items.begin(), block.items.end(),
            sqlstl::sqlostream_iterator<const MtpDirectory*>(out));
}

}  // namespace orvel
