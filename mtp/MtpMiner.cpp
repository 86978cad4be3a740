#include "mtp/MtpMiner.h"

#include <orvel/DatabaseMgr.h>
#include <orvel/MtpDevice.h>

#include <exception>
#include <memory>
#include <utility>

#include "base/Log.h"
#include "base/Timer.h"
#include "framework/RequestProgress.h"
#include "mtp/MtpConnection.h"
#include "tags/TagReaderScope.h"

namespace orvel {

MtpMiner::MtpMiner(const char* stageName, TagReaderFactory readerFactory)
    : Server(stageName, kMiningStackBytes), makeReader(std::move(readerFactory)) {}

MtpMiner::sink_block_type_ptr MtpMiner::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  OV_INFO("MtpMiner for: %u (op: %d) MP: %s", static_cast<unsigned>(block->items.size()),
          operation.id, operation.mountPoint.c_str());
  const Timer timer;
  auto songs = boost::make_shared<Block<MetaDataInfo*>>(operation);
  songs->items.reserve(block->items.size());
  if (DatabaseMgr::instance().dbSizeHasReachLimit(operation.deviceId)) {
    OV_INFO("MtpMiner SKIPPED db size limit reached (op: %d)", operation.id);
    // Only the reason is recorded: a phone that is too large ends with status "OK".
    progress->leaveUndone(LeftUndone::SizeLimit);
  } else {
    if (reader == nullptr) reader = makeReader(cancellation.get_token());
    mineTracks(*block, *songs);
    if (reader->isolationFailed()) progress->isolationFailed = true;
  }
  if (operation.last) reader.reset();
  OV_INFO("MtpMiner timer: %ld (op: %d)", timer.elapsedMs(), operation.id);
  return songs;
}

void MtpMiner::mineTracks(const Block<FileInfo*>& tracks, Block<MetaDataInfo*>& songs) {
  const Operation& operation = tracks.operation;
  const TagReaderScope scope(*reader);
  MtpConnection connection(operation.handle, operation.deviceId);
  const auto goesOn = [&] {
    return MtpDevice::instance().isDeviceConnected(operation.handle) && !stopping();
  };
  for (const FileInfo* track : tracks.items) {
    if (!goesOn()) break;
    try {
      std::unique_ptr<MetaDataInfo> song = connection.generateTrack(
          *track->path, operation.mountPoint, track->auxWord, track->lastModified);
      if (song == nullptr) continue;
      song->setAsianFields();
      songs.add(std::move(song));
    } catch (const std::exception& error) {
      OV_ERROR("exception from taglib for track: %s what %s", track->path->c_str(), error.what());
    }
  }
  const auto missing = static_cast<unsigned>(tracks.items.size() - songs.items.size());
  if (goesOn() || missing == 0) {
    progress->songsSkipped += missing;
    return;
  }
  leaveUndone(songs.operation, stopping() ? LeftUndone::Interrupted : LeftUndone::MountPointGone);
}

}  // namespace orvel
