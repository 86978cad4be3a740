#include "msd/MSDMiner.h"

#include <orvel/DatabaseMgr.h>

#include <cassert>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "base/Probes.h"
#include "base/StandardErrorSilence.h"
#include "base/Timer.h"
#include "base/retryOnBadAlloc.h"
#include "msd/Encoder.h"
#include "tags/SongTag.h"

namespace orvel {

namespace {

/// The block ends at the third file in a row that the device does not deliver.
constexpr int kMostFailuresInARow = 3;

MiningDecision nextFile() {
  return {};
}

/// A picture in the song itself is preferred to one beside it.
void noteFolderPicture(const FileInfo& file, MetaDataInfo& song) {
  if (file.folderHasPicture && song.details.cover != CoverPlace::Embedded) {
    song.details.cover = CoverPlace::InFolder;
  }
}

MiningDecision endBlock(LeftUndone reason) {
  return {true, reason};
}

}  // namespace

MSDMiner::MSDMiner(const char* stageName, std::shared_ptr<MountPointWatch> mountPointWatch,
                   TagReaderFactory readerFactory)
    : Server(stageName, kMiningStackBytes),
      watch(std::move(mountPointWatch)),
      makeReader(std::move(readerFactory)) {}

void MSDMiner::runLoop() {
  Server::runLoop();
  reader.reset();
}

MSDMiner::sink_block_type_ptr MSDMiner::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  auto songs = boost::make_shared<Block<MetaDataInfo*>>(operation);
  songs->items.reserve(block->items.size());
  OV_INFO("MSDMiner for: %u (op: %d)", static_cast<unsigned>(block->items.size()), operation.id);
  const Timer timer;
  if (DatabaseMgr::instance().dbSizeHasReachLimit(operation.deviceId)) {
    OV_INFO("MSDMiner SKIPPED db size limit reached (op: %d)", operation.id);
    leaveUndone(songs->operation, LeftUndone::SizeLimit);
  } else {
    const bool isDevicePresent = mineFiles(*block, songs);
    if (operation.last) reader.reset();
    if (!isDevicePresent) return songs;
  }
  OV_INFO("MSDMiner timer: %ld (op: %d)", timer.elapsedMs(), operation.id);
  return songs;
}

/// Tells the reader all files of the block, so that it can read ahead.
void MSDMiner::expect(const Block<FileInfo*>& files) {
  if (files.items.empty()) return;
  if (reader == nullptr) reader = makeReader(cancellation.get_token());
  std::vector<std::string> paths;
  paths.reserve(files.items.size());
  for (const FileInfo* file : files.items) paths.push_back(*file->path);
  reader->expect(files.operation.mountPoint, std::move(paths));
}

/// Returns false when the mount point is gone.
bool MSDMiner::mineFiles(const Block<FileInfo*>& files, sink_block_type_ptr& songs) {
  expect(files);
  std::size_t bytes = 0;
  unsigned skipped = 0;
  for (const FileInfo* file : files.items) {
    const std::size_t before = songs->items.size();
    const MiningDecision decision =
        stopping() ? endBlock(LeftUndone::Interrupted) : mineGuarded(*file, *songs);
    if (decision.endsBlock) {
      leaveUndone(songs->operation, decision.reason);
      return decision.reason != LeftUndone::MountPointGone;
    }
    if (songs->items.size() == before) {
      ++skipped;
      continue;
    }
    bytes += songs->items.back()->storedBytes();
    if (bytes >= kBytesOfFullBlock) {
      sendAhead(songs);
      bytes = 0;
    }
  }
  progress->songsSkipped += skipped;
  return true;
}

/// Keeps an exception to the file that caused it.
MiningDecision MSDMiner::mineGuarded(const FileInfo& file, Block<MetaDataInfo*>& songs) {
  const StandardErrorSilence silence;
  try {
    return mine(file, songs);
  } catch (const std::exception& error) {
    OV_ERROR("exception from taglib for track: %s what %s", file.path->c_str(), error.what());
    return nextFile();
  }
}

TagResult MSDMiner::readTags(const std::string& path) {
  const probes::Span span(probes::Song{path.c_str()});
  return reader->next(path);
}

MiningDecision MSDMiner::mine(const FileInfo& file, Block<MetaDataInfo*>& songs) {
  using Outcome = TagResult::Outcome;
  assert(reader != nullptr);
  TagResult read = readTags(*file.path);
  if (reader->isolationFailed()) progress->isolationFailed = true;
  if (const auto confinement = reader->confinement()) progress->fileWasParsed(*confinement);
  const bool isDelivered =
      read.outcome != Outcome::DeviceFailed && read.outcome != Outcome::Stalled;
  if (isDelivered) failuresInARow = 0;
  const SongTag tag(std::move(read.values));
  switch (read.outcome) {
    case Outcome::Tagged:
      retryOnBadAlloc([&] { addSong(file, file.lastModified, tag, songs); }, kOneRetry);
      return nextFile();
    case Outcome::Untagged:
      return nextFile();
    case Outcome::Unreadable:
      return addWithoutTexts(file, file.lastModified, songs);
    case Outcome::DeviceFailed:
    case Outcome::Stalled:
      return addUndelivered(file, tag, songs);
    case Outcome::Interrupted:
      return endBlock(LeftUndone::Interrupted);
    case Outcome::ReaderLost:
      return endBlock(LeftUndone::ReaderLost);
    case Outcome::GivenUp:
      return endBlock(LeftUndone::ReaderGivenUp);
    case Outcome::NotIsolated:
      return endBlock(LeftUndone::NotIsolated);
  }
  return nextFile();
}

void MSDMiner::addSong(const FileInfo& file, std::int32_t lastModified, const SongTag& tag,
                       Block<MetaDataInfo*>& songs) {
  std::unique_ptr<MetaDataInfo> song(Encoder::instance().guessAndConvert(
      *file.path, songs.operation.mountPoint, lastModified, &tag));
  if (song == nullptr) {
    OV_ERROR("invalid encoding");
    return;
  }
  song->setAsianFields();
  noteFolderPicture(file, *song);
  songs.add(std::move(song));
}

/// Adds a song that the device did not deliver whole, with the texts read so far. The first time,
/// the next request reads it again; the second time it stays as it is, because one bad sector must
/// not keep a device incomplete for ever.
MiningDecision MSDMiner::addUndelivered(const FileInfo& file, const SongTag& tag,
                                        Block<MetaDataInfo*>& songs) {
  const std::int32_t lastModified = file.failedBefore ? file.lastModified : kNeverRead;
  if (tag.isEmpty()) {
    const MiningDecision decision = addWithoutTexts(file, lastModified, songs);
    if (decision.endsBlock) return decision;
  } else {
    if (isMountPointGone(songs.operation)) return endBlock(LeftUndone::MountPointGone);
    OV_WARN("the device delivers only a part of track: %s", file.path->c_str());
    retryOnBadAlloc([&] { addSong(file, lastModified, tag, songs); }, kOneRetry);
  }
  // Those that failed before come in a row when nothing else is new.
  if (file.failedBefore) return nextFile();
  leaveUndone(songs.operation, LeftUndone::ReadError);
  ++failuresInARow;
  return failuresInARow < kMostFailuresInARow ? nextFile() : endBlock(LeftUndone::ReadError);
}

bool MSDMiner::isMountPointGone(const Operation& operation) const {
  const int missing = watch->missing(operation.id, operation.mountPoint);
  if (missing == 0) return false;
  OV_ERROR("MOUNT POINT IS NOT PRESENT ANYMORE %s: %d", operation.mountPoint.c_str(), missing);
  return true;
}

/// Adds a song with empty texts, unless the file is unreadable because the mount point is gone.
MiningDecision MSDMiner::addWithoutTexts(const FileInfo& file, std::int32_t lastModified,
                                         Block<MetaDataInfo*>& songs) {
  OV_WARN("NULL file for track: %s", file.path->c_str());
  if (isMountPointGone(songs.operation)) return endBlock(LeftUndone::MountPointGone);
  OV_WARN("insert empty: %s", file.path->c_str());
  retryOnBadAlloc(
      [&] {
        const std::string none;
        auto song = std::make_unique<MetaDataInfo>(*file.path, songs.operation.mountPoint, none,
                                                   none, none, none, none, 1, 1, lastModified);
        noteFolderPicture(file, *song);
        songs.add(std::move(song));
      },
      kOneRetry);
  return nextFile();
}

}  // namespace orvel
