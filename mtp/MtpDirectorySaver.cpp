#include "mtp/MtpDirectorySaver.h"

#include <algorithm>

#include "base/Log.h"
#include "base/Timer.h"
#include "db/SqlTexts.h"
#include "db/StoredDirectories.h"
#include "db/Transaction.h"
#include "framework/HostSignals.h"

namespace orvel {

MtpDirectorySaver::sink_block_type_ptr MtpDirectorySaver::doOperation(src_block_type_ptr block) {
  OV_INFO("MtpDirectorySaver for: %u", static_cast<unsigned>(block->items.size()));
  const Timer timer;
  auto result = boost::make_shared<Block<void>>(block->operation);
  open(block->operation.deviceId);
  const ClosingScope closing(*this);
  if (!block->operation.skipped) save(*block, result->operation);
  OV_INFO("MtpDirectorySaver timer: %ld", timer.elapsedMs());
  return result;
}

void MtpDirectorySaver::save(const Block<MtpDirectory*>& block, Operation& result) {
  std::vector<std::string> ids;
  ids.reserve(block.items.size());
  for (const MtpDirectory* directory : block.items) ids.push_back(directory->objectId.text());
  std::sort(ids.begin(), ids.end());
  const std::size_t differences = countDifferences(in, "", ids);
  if (!in.eof()) leaveUndone(result, LeftUndone::RowsLost);
  if (differences == 0) {
    OV_INFO("RNC: Did not find changes");
    progress->directoriesAreStored(static_cast<unsigned>(ids.size()));
  } else {
    OV_INFO("RNC: Found changes %u", static_cast<unsigned>(differences));
    rewrite(block, result);
  }
}

void MtpDirectorySaver::rewrite(const Block<MtpDirectory*>& block, Operation& result) {
  if (stopping()) {
    leaveUndone(result, LeftUndone::Interrupted);
    return;
  }
  Transaction transaction(out);
  out.clear();
  out.exec(sql::kDeleteAllDirectories);
  const bool deleted = out.good();
  out.query(sql::kInsertDirectory);
  std::copy(block.items.begin(), block.items.end(),
            sqlstl::sqlostream_iterator<const MtpDirectory*>(out));
  const bool inserted = out.good();
  out.finalize();
  if (!transaction.end() || !deleted || !inserted) {
    leaveUndone(result, LeftUndone::RowsLost);
  } else {
    progress->directoriesAreStored(static_cast<unsigned>(block.items.size()));
  }
  if (!running()) return;
  progress->contentModified = true;
  hostSignals::contentModified(block.operation.mountPoint);
}

}  // namespace orvel
