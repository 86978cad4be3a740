#include "mtp/MtpMiner.h"

#include <orvel/DatabaseMgr.h>
#include <orvel/MtpDevice.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "base/Log.h"
#include "base/Probes.h"
#include "base/Timer.h"
#include "framework/RequestProgress.h"
#include "mtp/MtpConnection.h"
#include "phones/MtpUtils.h"
#include "tags/TagReaderScope.h"

namespace orvel {

namespace {

/// True when no further track can be read for this reason.
bool endsReading(LeftUndone reason) {
  return reason == LeftUndone::ReaderLost || reason == LeftUndone::ReaderGivenUp ||
         reason == LeftUndone::NotIsolated;
}

}  // namespace

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
    mineTracks(*block, songs);
    if (reader->isolationFailed()) progress->isolationFailed = true;
    if (const auto confinement = reader->confinement()) progress->fileWasParsed(*confinement);
  }
  if (operation.last) reader.reset();
  OV_INFO("MtpMiner timer: %ld (op: %d)", timer.elapsedMs(), operation.id);
  return songs;
}

void MtpMiner::mineTracks(const Block<FileInfo*>& tracks, sink_block_type_ptr& songs) {
  const Operation& operation = tracks.operation;
  const TagReaderScope scope(*reader);
  MtpConnection connection(operation.handle, operation.deviceId);
  const auto goesOn = [&] {
    return MtpDevice::instance().isDeviceConnected(operation.handle) && !stopping() &&
           !MtpUtils::isGivenUp(operation.handle);
  };
  failedTwice.clear();
  std::optional<LeftUndone> end;
  std::size_t bytes = 0;
  unsigned missing = 0;
  for (const FileInfo* track : tracks.items) {
    if (!goesOn() || end) break;
    const std::size_t before = songs->items.size();
    end = mineGuarded(*track, connection, *songs);
    if (songs->items.size() == before) {
      ++missing;
      continue;
    }
    bytes += songs->items.back()->storedBytes();
    if (bytes >= kBytesOfFullBlock && failedTwice.empty()) {
      sendAhead(songs);
      bytes = 0;
    }
  }
  if (end) {
    readAgain(*songs, *end);
  } else if (stopping()) {
    readAgain(*songs, LeftUndone::Interrupted);
  } else if (!MtpDevice::instance().isDeviceConnected(operation.handle)) {
    readAgain(*songs, LeftUndone::MountPointGone);
  } else if (MtpUtils::isGivenUp(operation.handle)) {
    readAgain(*songs, LeftUndone::ReadError);
  } else {
    progress->songsSkipped += missing;
  }
}

/// Keeps an exception to the track that caused it.
std::optional<LeftUndone> MtpMiner::mineGuarded(const FileInfo& track, MtpConnection& connection,
                                                Block<MetaDataInfo*>& songs) {
  try {
    return mine(track, connection, songs);
  } catch (const std::exception& error) {
    OV_ERROR("exception from taglib for track: %s what %s", track.path->c_str(), error.what());
    const bool isOutOfMemory = dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
    if (isOutOfMemory) leaveUndone(songs.operation, LeftUndone::StageFailed);
    return std::nullopt;
  }
}

std::unique_ptr<MetaDataInfo> MtpMiner::readTrack(const FileInfo& track, MtpConnection& connection,
                                                  const std::string& mountPoint) {
  const probes::Span span(probes::Song{track.path->c_str()});
  return connection.generateTrack(*track.path, mountPoint, track.auxWord, track.lastModified);
}

std::optional<LeftUndone> MtpMiner::mine(const FileInfo& track, MtpConnection& connection,
                                         Block<MetaDataInfo*>& songs) {
  std::unique_ptr<MetaDataInfo> song = readTrack(track, connection, songs.operation.mountPoint);
  if (song == nullptr) return std::nullopt;
  song->setAsianFields();
  const std::optional<LeftUndone> failure = connection.trackFailure();
  MetaDataInfo* const added = song.get();
  songs.add(std::move(song));
  if (!failure) {
    failedTwice.clear();
  } else if (track.failedBefore) {
    // The second failure is final unless the device turns out to have failed.
    failedTwice.push_back(added);
  } else {
    added->lastModified = kNeverRead;
    leaveUndone(songs.operation, *failure);
  }
  return failure && endsReading(*failure) ? failure : std::nullopt;
}

void MtpMiner::readAgain(Block<MetaDataInfo*>& songs, LeftUndone reason) {
  for (MetaDataInfo* song : failedTwice) song->lastModified = kNeverRead;
  leaveUndone(songs.operation, reason);
}

}  // namespace orvel
