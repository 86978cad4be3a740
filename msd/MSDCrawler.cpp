#include "msd/MSDCrawler.h"

#include <utility>

#include "base/Log.h"
#include "base/Timer.h"

namespace orvel {

MSDCrawler::MSDCrawler(const char* stageName, std::shared_ptr<MountPointWatch> mountPointWatch)
    : Crawler(stageName), watch(std::move(mountPointWatch)) {}

MSDCrawler::sink_block_type_ptr MSDCrawler::doOperation(src_block_type_ptr block) {
  OV_INFO("MSDCrawler for: %s (op: %d)",
          block->items.empty() ? "" : block->items.front()->path.c_str(), block->operation.id);
  progress->enter(RequestPhase::Crawling);
  const Timer timer;
  auto songs = makeBlock<FileInfo*>(block->operation);
  const auto playlists = makeBlock<FileInfo*>(block->operation);
  try {
    MSDWalk(*block, *songs, *playlists, *watch, *progress, [this] { return walkGoesOn(); }).run();
  } catch (const std::exception&) {
    // The pipeline counts three LAST blocks: a failed walk must not hold two of them back.
    block->operation.skipped = true;
    playlists->operation.skipped = true;
    sendBranches(block, playlists);
    throw;
  }
  sendBranches(block, playlists);
  progress->enter(RequestPhase::Indexing);
  OV_INFO("MSDCrawler timer: %ld (op: %d) found %u", timer.elapsedMs(), songs->operation.id,
          static_cast<unsigned>(songs->items.size()));
  return songs;
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
