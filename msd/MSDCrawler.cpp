#include "msd/MSDCrawler.h"

#include <utility>

#include "base/Log.h"
#include "base/Timer.h"

namespace orvel {

MSDCrawler::MSDCrawler(const char* stageName, std::shared_ptr<MountPointWatch> mountPointWatch,
                       std::shared_ptr<ReadFailures> readFailures)
    : Crawler(stageName), watch(std::move(mountPointWatch)), failures(std::move(readFailures)) {}

MSDCrawler::sink_block_type_ptr MSDCrawler::doOperation(src_block_type_ptr block) {
  OV_INFO("MSDCrawler for: %s (op: %d)",
          block->items.empty() ? "" : block->items.front()->path.c_str(), block->operation.id);
  progress->enter(RequestPhase::Crawling);
  const Timer timer;
  const Found found{makeBlock<FileInfo*>(block->operation), makeBlock<FileInfo*>(block->operation),
                    block};
  try {
    whenWalkBegins(block->operation);
    walk(found);
  } catch (const std::exception&) {
    // The pipeline waits for three LAST blocks: send two here, the run loop sends the third.
    leaveAllUndone(found, LeftUndone::StageFailed);
    sendBranches(found);
    throw;
  }
  sendBranches(found);
  progress->enter(RequestPhase::Indexing);
  OV_INFO("MSDCrawler timer: %ld (op: %d) found %u", timer.elapsedMs(), found.songs->operation.id,
          static_cast<unsigned>(found.songs->items.size()));
  return found.songs;
}

void MSDCrawler::walk(const Found& found) {
  const WalkHost host{[this] { return walkGoesOn(); },
                      [this, &found](LeftUndone reason) { leaveAllUndone(found, reason); },
                      [this, &found](const std::string& path) { passOver(found, path); }};
  MSDWalk(*found.directories, *found.songs, *found.playlists, *watch, *progress, host).run();
}

/// Passes over a path that the device does not deliver.
void MSDCrawler::passOver(const Found& found, const std::string& path) {
  const Operation& operation = found.songs->operation;
  if (failures->isFinal(operation.deviceId, operation.mountPoint, path)) return;
  leaveAllUndone(found, LeftUndone::ReadError);
}

WalkGoesOn MSDCrawler::walkGoesOn() const {
  switch (state) {
    case RUNNING:
      return WalkGoesOn::Yes;
    case PAUSED:
      return WalkGoesOn::Paused;
    default:
      return WalkGoesOn::Stopped;
  }
}

}  // namespace orvel
