#include "msd/MSDMiner.h"

#include <taglib/fileref.h>

#include <cstdint>
#include <exception>
#include <new>
#include <optional>
#include <utility>

#include "db/DatabaseMgr.h"
#include "framework/Timer.h"
#include "msd/AudioStream.h"
#include "msd/Encoder.h"
#include "msd/StandardErrorSilence.h"
#include "platform/common/Log.h"
#include "platform/tags/SongTag.h"

namespace orvel {

namespace {
/// The modification time of a song that no file has.
constexpr std::int32_t kNeverRead = -1;
}  // namespace

MSDMiner::MSDMiner(const char* stageName, std::shared_ptr<MountPointWatch> mountPointWatch)
    : Server(stageName, kMiningStackBytes), watch(std::move(mountPointWatch)) {}

MSDMiner::sink_block_type_ptr MSDMiner::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  auto songs = boost::make_shared<Block<MetaDataInfo*>>(operation);
  songs->items.reserve(block->items.size());
  if (cutOperation == operation.id) songs->operation.skipped = true;
  OV_INFO("MSDMiner for: %u (op: %d)", static_cast<unsigned>(block->items.size()), operation.id);
  const Timer timer;
  if (DatabaseMgr::instance().dbSizeHasReachLimit(operation.deviceId)) {
    OV_INFO("MSDMiner SKIPPED db size limit reached (op: %d)", operation.id);
    leaveUndone(*songs, LeftUndone::SizeLimit);
  } else if (!mineFiles(*block, *songs)) {
    return songs;
  }
  OV_INFO("MSDMiner timer: %ld (op: %d)", timer.elapsedMs(), operation.id);
  return songs;
}

/// Returns false when the mount point is gone.
bool MSDMiner::mineFiles(const Block<FileInfo*>& files, Block<MetaDataInfo*>& songs) {
  for (const FileInfo* file : files.items) {
    const Mined mined = stopping() ? Mined::Stopped : mineGuarded(*file, files.operation, songs);
    if (mined == Mined::Stopped) {
      leaveUndone(songs, LeftUndone::Interrupted);
      return true;
    }
    if (mined == Mined::MountPointGone) {
      leaveUndone(songs, LeftUndone::MountPointGone);
      return false;
    }
  }
  progress->songsSkipped += static_cast<unsigned>(files.items.size() - songs.items.size());
  return true;
}

MSDMiner::Mined MSDMiner::mineGuarded(const FileInfo& file, const Operation& operation,
                                      Block<MetaDataInfo*>& songs) {
  const StandardErrorSilence silence;
  try {
    // A file that asks for too much memory fails again, one that met a shortage does not.
    try {
      return mine(file, operation, songs);
    } catch (const std::bad_alloc&) {
      return mine(file, operation, songs);
    }
  } catch (const std::exception& error) {
    OV_ERROR("exception from taglib for track: %s what %s", file.path->c_str(), error.what());
    return Mined::Done;
  }
}

MSDMiner::Mined MSDMiner::mine(const FileInfo& file, const Operation& operation,
                               Block<MetaDataInfo*>& songs) {
  AudioStream stream(*file.path, cancellation.get_token());
  const TagLib::FileRef reference(&stream, true, TagLib::AudioProperties::Average);
  if (stream.interrupted()) return Mined::Stopped;
  if (reference.isNull() || stream.readFailed()) {
    return mineUnreadable(file, operation, stream.readFailed(), songs);
  }
  if (reference.tag() == nullptr) return Mined::Done;
  const SongTag tag(*reference.file());
  std::unique_ptr<MetaDataInfo> song(Encoder::instance().guessAndConvert(
      *file.path, operation.mountPoint, file.lastModified, &tag));
  if (song == nullptr) {
    OV_ERROR("invalid encoding");
    return Mined::Done;
  }
  song->setAsianFields();
  songs.add(std::move(song));
  return Mined::Done;
}

MSDMiner::Mined MSDMiner::mineUnreadable(const FileInfo& file, const Operation& operation,
                                         bool deviceFailed, Block<MetaDataInfo*>& songs) {
  OV_WARN("NULL file for track: %s", file.path->c_str());
  const int missing = watch->missing(operation.id, operation.mountPoint);
  if (missing != 0) {
    OV_ERROR("MOUNT POINT IS NOT PRESENT ANYMORE %s: %d", operation.mountPoint.c_str(), missing);
    return Mined::MountPointGone;
  }
  OV_WARN("insert empty: %s", file.path->c_str());
  const std::string none;
  songs.add(std::make_unique<MetaDataInfo>(*file.path, operation.mountPoint, none, none, none, none,
                                           none, 1, 1,
                                           deviceFailed ? kNeverRead : file.lastModified));
  if (deviceFailed) leaveUndone(songs, LeftUndone::ReadError);
  return Mined::Done;
}

void MSDMiner::leaveUndone(Block<MetaDataInfo*>& songs, LeftUndone reason) {
  songs.operation.skipped = true;
  cutOperation = songs.operation.id;
  progress->leaveUndone(reason);
}

}  // namespace orvel
