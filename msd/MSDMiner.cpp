#include "msd/MSDMiner.h"

#include <orvel/DatabaseMgr.h>

#include <cassert>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "base/Timer.h"
#include "base/retryOnBadAlloc.h"
#include "msd/Encoder.h"
#include "msd/StandardErrorSilence.h"
#include "tags/SongTag.h"

namespace orvel {

namespace {

/// A modification time that differs from every file's.
constexpr std::int32_t kNeverRead = -1;

MiningDecision nextFile() {
  return {};
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
    const bool isDevicePresent = mineFiles(*block, *songs);
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
  reader->expect(std::move(paths));
}

/// Returns false when the mount point is gone.
bool MSDMiner::mineFiles(const Block<FileInfo*>& files, Block<MetaDataInfo*>& songs) {
  expect(files);
  for (const FileInfo* file : files.items) {
    const MiningDecision decision =
        stopping() ? endBlock(LeftUndone::Interrupted) : mineGuarded(*file, songs);
    if (!decision.endsBlock) continue;
    leaveUndone(songs.operation, decision.reason);
    return decision.reason != LeftUndone::MountPointGone;
  }
  progress->songsSkipped += static_cast<unsigned>(files.items.size() - songs.items.size());
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

MiningDecision MSDMiner::mine(const FileInfo& file, Block<MetaDataInfo*>& songs) {
  using Outcome = TagResult::Outcome;
  assert(reader != nullptr);
  TagResult read = reader->next(*file.path);
  if (reader->isolationFailed()) progress->isolationFailed = true;
  switch (read.outcome) {
    case Outcome::Tagged: {
      const SongTag tag(std::move(read.values));
      retryOnBadAlloc([&] { addSong(file, tag, songs); }, kOneRetry);
      return nextFile();
    }
    case Outcome::Untagged:
      return nextFile();
    case Outcome::Unreadable:
      return addWithoutTexts(file, file.lastModified, songs);
    case Outcome::DeviceFailed: {
      const MiningDecision decision = addWithoutTexts(file, kNeverRead, songs);
      if (!decision.endsBlock) leaveUndone(songs.operation, LeftUndone::ReadError);
      return decision;
    }
    case Outcome::Interrupted:
      return endBlock(LeftUndone::Interrupted);
    case Outcome::Stalled:
      return endBlock(LeftUndone::ReadError);
    case Outcome::ReaderLost:
      return endBlock(LeftUndone::ReaderLost);
  }
  return nextFile();
}

void MSDMiner::addSong(const FileInfo& file, const SongTag& tag, Block<MetaDataInfo*>& songs) {
  std::unique_ptr<MetaDataInfo> song(Encoder::instance().guessAndConvert(
      *file.path, songs.operation.mountPoint, file.lastModified, &tag));
  if (song == nullptr) {
    OV_ERROR("invalid encoding");
    return;
  }
  song->setAsianFields();
  songs.add(std::move(song));
}

/// Adds a song with empty texts, unless the file is unreadable because the mount point is gone.
MiningDecision MSDMiner::addWithoutTexts(const FileInfo& file, std::int32_t lastModified,
                                         Block<MetaDataInfo*>& songs) {
  OV_WARN("NULL file for track: %s", file.path->c_str());
  const Operation& operation = songs.operation;
  const int missing = watch->missing(operation.id, operation.mountPoint);
  if (missing != 0) {
    OV_ERROR("MOUNT POINT IS NOT PRESENT ANYMORE %s: %d", operation.mountPoint.c_str(), missing);
    return endBlock(LeftUndone::MountPointGone);
  }
  OV_WARN("insert empty: %s", file.path->c_str());
  retryOnBadAlloc(
      [&] {
        const std::string none;
        songs.add(std::make_unique<MetaDataInfo>(*file.path, operation.mountPoint, none, none, none,
                                                 none, none, 1, 1, lastModified));
      },
      kOneRetry);
  return nextFile();
}

}  // namespace orvel
