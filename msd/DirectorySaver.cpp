#include "msd/DirectorySaver.h"

#include <algorithm>

#include "base/Log.h"
#include "base/Timer.h"
#include "db/SqlTexts.h"
#include "db/StoredDirectories.h"
#include "db/Transaction.h"
#include "framework/HostSignals.h"

namespace orvel {

namespace {

constexpr std::int32_t kNoParent = -1;

Directory& parentOf(const Block<Directory*>& block, const Directory& directory) {
  return *block.items.at(static_cast<std::size_t>(directory.parentIndex));
}

std::vector<std::string> idsOfMusicDirectories(const Block<Directory*>& block) {
  std::vector<std::string> ids;
  for (const Directory* directory : block.items) {
    if (directory->hasMusic) ids.push_back(directory->objectId.text());
  }
  std::sort(ids.begin(), ids.end());
  return ids;
}

}  // namespace

DirectorySaver::sink_block_type_ptr DirectorySaver::doOperation(src_block_type_ptr block) {
  OV_INFO("DirectorySaver for: %u", static_cast<unsigned>(block->items.size()));
  const Timer timer;
  const Operation& operation = block->operation;
  auto result = boost::make_shared<Block<void>>(operation);
  propagateMusicPresence(block.get());
  open(operation.deviceId);
  const ClosingScope closing(*this);
  const std::vector<std::string> ids = idsOfMusicDirectories(*block);
  const std::size_t differences = countDifferences(in, operation.mountPoint, ids);
  // What cannot be read for the mount point's own sake never could be.
  if (!in.eof() && sql::fitsPathPattern(operation.mountPoint)) {
    leaveUndone(result->operation, LeftUndone::RowsLost);
  }
  if (differences == 0) {
    OV_INFO("RNC: Did not find changes");
    progress->directoriesAreStored(static_cast<unsigned>(ids.size()));
  } else {
    OV_INFO("RNC: Found changes %u", static_cast<unsigned>(differences));
    rewrite(*block, result->operation);
  }
  OV_INFO("DirectorySaver timer: %ld", timer.elapsedMs());
  return result;
}

void DirectorySaver::propagateMusicPresence(src_block_type* block) const {
  const Timer timer;
  for (const Directory* directory : block->items) {
    if (!directory->hasMusic) continue;
    while (directory->parentIndex != kNoParent) {
      Directory& parent = parentOf(*block, *directory);
      if (parent.hasMusic) break;
      parent.hasMusic = true;
      directory = &parent;
    }
  }
  OV_INFO("timer directory saver: %ld ", timer.elapsedMs());
}

void DirectorySaver::rewrite(const src_block_type& block, Operation& result) {
  if (stopping()) {
    leaveUndone(result, LeftUndone::Interrupted);
    return;
  }
  const Operation& operation = block.operation;
  Transaction transaction(out);
  out.clear();
  out.exec(sql::withPathPattern(sql::kDeleteDirectories, operation.mountPoint).c_str());
  const bool deleted = out.good() || !sql::fitsPathPattern(operation.mountPoint);
  out.query(sql::kInsertDirectory);
  unsigned stored = 0;
  for (const Directory* directory : block.items) {
    if (!directory->hasMusic) continue;
    const bool isRoot = directory->parentIndex == kNoParent;
    out << directory->partitionId.text() << directory->path << directory->name
        << directory->objectId.text()
        << (isRoot ? operation.deviceId : parentOf(block, *directory).objectId.text())
        << sqlstl::step;
    ++stored;
  }
  const bool inserted = out.good();
  out.finalize();
  if (!transaction.end() || !deleted || !inserted) {
    leaveUndone(result, LeftUndone::RowsLost);
  } else {
    progress->directoriesAreStored(stored);
  }
  if (!running()) return;
  progress->contentModified = true;
  hostSignals::contentModified(operation.mountPoint);
}

}  // namespace orvel
