#include "msd/MSDMiner.h"

#include <cstdint>
#include <exception>
#include <optional>
#include <utility>

#include "base/Log.h"
#include "base/Timer.h"
#include "base/retryOnce.h"
#include "db/DatabaseMgr.h"
#include "msd/Encoder.h"
#include "msd/StandardErrorSilence.h"
#include "tags/SongTag.h"

namespace orvel {

namespace {
/// The modification time of a song that no file has.
constexpr std::int32_t kNeverRead = -1;
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

/// Tells the reader which files come, before the first of them is needed.
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
    const std::optional<LeftUndone> cut =
        stopping() ? LeftUndone::Interrupted : mineGuarded(*file, files.operation, songs);
    if (!cut) continue;
    leaveUndone(songs.operation, *cut);
    return cut != LeftUndone::MountPointGone;
  }
  progress->songsSkipped += static_cast<unsigned>(files.items.size() - songs.items.size());
  return true;
}

/// Returns why the block is to be cut before this file, if it is.
std::optional<LeftUndone> MSDMiner::mineGuarded(const FileInfo& file, const Operation& operation,
                                                Block<MetaDataInfo*>& songs) {
  const StandardErrorSilence silence;
  try {
    return mine(file, operation, songs);
  } catch (const std::exception& error) {
    OV_ERROR("exception from taglib for track: %s what %s", file.path->c_str(), error.what());
    return std::nullopt;
  }
}

std::optional<LeftUndone> MSDMiner::mine(const FileInfo& file, const Operation& operation,
                                         Block<MetaDataInfo*>& songs) {
  using Outcome = TagResult::Outcome;
  TagResult read = reader->next();
  if (reader->isolationFailed()) progress->isolationFailed = true;
  if (read.outcome == Outcome::Interrupted) return LeftUndone::Interrupted;
  if (read.outcome == Outcome::Stalled) return LeftUndone::ReadError;
  if (read.outcome == Outcome::ReaderLost) return LeftUndone::ReaderLost;
  if (read.outcome == Outcome::Unreadable || read.outcome == Outcome::DeviceFailed) {
    return mineUnreadable(file, operation, read.outcome == Outcome::DeviceFailed, songs);
  }
  if (read.outcome == Outcome::Untagged) return std::nullopt;
  const SongTag tag(std::move(read.values));
  retryOnce([&] { addSong(file, operation, tag, songs); });
  return std::nullopt;
}

void MSDMiner::addSong(const FileInfo& file, const Operation& operation, const SongTag& tag,
                       Block<MetaDataInfo*>& songs) {
  std::unique_ptr<MetaDataInfo> song(Encoder::instance().guessAndConvert(
      *file.path, operation.mountPoint, file.lastModified, &tag));
  if (song == nullptr) {
    OV_ERROR("invalid encoding");
    return;
  }
  song->setAsianFields();
  songs.add(std::move(song));
}

std::optional<LeftUndone> MSDMiner::mineUnreadable(const FileInfo& file, const Operation& operation,
                                                   bool deviceFailed, Block<MetaDataInfo*>& songs) {
  OV_WARN("NULL file for track: %s", file.path->c_str());
  const int missing = watch->missing(operation.id, operation.mountPoint);
  if (missing != 0) {
    OV_ERROR("MOUNT POINT IS NOT PRESENT ANYMORE %s: %d", operation.mountPoint.c_str(), missing);
    return LeftUndone::MountPointGone;
  }
  OV_WARN("insert empty: %s", file.path->c_str());
  retryOnce([&] {
    const std::string none;
    songs.add(std::make_unique<MetaDataInfo>(*file.path, operation.mountPoint, none, none, none,
                                             none, none, 1, 1,
                                             deviceFailed ? kNeverRead : file.lastModified));
  });
  if (deviceFailed) leaveUndone(songs.operation, LeftUndone::ReadError);
  return std::nullopt;
}

}  // namespace orvel
