#include "msd/MSDPlaylistMiner.h"

#include <orvel/DatabaseMgr.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/DeviceRoot.h"
#include "base/Log.h"
#include "base/ReadError.h"

namespace orvel {

namespace {

constexpr std::size_t kMostEntriesOfList = 100000;
constexpr std::size_t kMostEntriesOfRequest = 500000;
/// A block with as many entries is sent on.
constexpr std::size_t kEntriesOfBlock = 10000;

}  // namespace

MSDPlaylistMiner::MSDPlaylistMiner(const char* stageName,
                                   std::shared_ptr<MountPointWatch> mountPointWatch,
                                   std::shared_ptr<ReadFailures> readFailures,
                                   PlaylistReaderFactory readerFactory)
    : Server(stageName),
      watch(std::move(mountPointWatch)),
      failures(std::move(readFailures)),
      makeReader(std::move(readerFactory)) {}

MSDPlaylistMiner::sink_block_type_ptr MSDPlaylistMiner::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  OV_INFO("MSDPlaylistMiner for: %u (op: %d)", static_cast<unsigned>(block->items.size()),
          operation.id);
  sink_block_type_ptr playlists = mineFiles(*block);
  if (operation.last) reader.reset();
  OV_INFO("MSDPlaylistMiner done (op: %d)", operation.id);
  return playlists;
}

MSDPlaylistMiner::sink_block_type_ptr MSDPlaylistMiner::mineFiles(const Block<FileInfo*>& files) {
  auto playlists = boost::make_shared<Block<Playlist*>>(files.operation);
  std::size_t entriesLeft = kMostEntriesOfRequest;
  std::size_t entriesInBlock = 0;
  for (const FileInfo* file : files.items) {
    if (entriesInBlock >= kEntriesOfBlock) {
      sendAhead(playlists);
      entriesInBlock = 0;
    }
    if (isDatabaseFull(playlists->operation)) break;
    if (entriesLeft == 0) {
      ++progress->playlistsCut;
      continue;
    }
    if (!mine(*file, std::min(entriesLeft, kMostEntriesOfList), *playlists)) break;
    const std::size_t entries = playlists->items.back()->entries.size();
    entriesLeft -= entries;
    entriesInBlock += entries;
  }
  return playlists;
}

/// True, with work left undone, when no further playlist fits.
bool MSDPlaylistMiner::isDatabaseFull(Operation& result) {
  if (!DatabaseMgr::instance().dbSizeHasReachLimit(result.deviceId)) return false;
  OV_INFO("MSDPlaylistMiner SKIPPED db size limit reached (op: %d)", result.id);
  leaveUndone(result, LeftUndone::SizeLimit);
  return true;
}

/// Returns false when the file and all after it are left undone.
bool MSDPlaylistMiner::mine(const FileInfo& file, std::size_t mostEntries,
                            Block<Playlist*>& playlists) {
  Operation& result = playlists.operation;
  auto playlist = std::make_unique<Playlist>(*file.path, result.mountPoint, file.lastModified);
  struct statx status {};
  const Descriptor opened = DeviceRoot(result.mountPoint).open(*file.path, status);
  if (!opened) {
    noteFailure(errno, *file.path, result);
    playlist->refused = true;
  } else if (!deviceDelivers(opened, *file.path, result)) {
    playlist->refused = true;
  } else if (!parse(opened, playlist, mostEntries, result)) {
    return false;
  }
  if (playlist->refused) ++progress->playlistsRefused;
  playlists.add(std::move(playlist));
  return true;
}

/// Fills `playlist`. Returns false when reading ends here.
bool MSDPlaylistMiner::parse(const Descriptor& file, std::unique_ptr<Playlist>& playlist,
                             std::size_t mostEntries, Operation& result) {
  using Outcome = PlaylistReader::Outcome;
  if (reader == nullptr) reader = makeReader(cancellation.get_token());
  const Outcome outcome = reader->read(file, playlist, mostEntries);
  if (reader->isolationFailed()) progress->isolationFailed = true;
  if (const auto confinement = reader->confinement()) progress->fileWasParsed(*confinement);
  switch (outcome) {
    case Outcome::Cut:
      ++progress->playlistsCut;
      break;
    case Outcome::Refused:
      deviceDelivers(file, playlist->path, result);  // may have failed since the first look
      break;
    case Outcome::Stalled:
      noteFailure(ETIMEDOUT, playlist->path, result);
      break;
    case Outcome::Failed:
      leaveUndone(result, LeftUndone::StageFailed);
      break;
    case Outcome::Interrupted:
      leaveUndone(result, LeftUndone::Interrupted);
      return false;
    case Outcome::ReaderLost:
      leaveUndone(result, LeftUndone::ReaderLost);
      return false;
    case Outcome::GivenUp:
      leaveUndone(result, LeftUndone::ReaderGivenUp);
      return false;
    case Outcome::NotIsolated:
      leaveUndone(result, LeftUndone::NotIsolated);
      return false;
    case Outcome::Done:
      break;
  }
  playlist->refused = outcome != Outcome::Done && outcome != Outcome::Cut;
  return true;
}

/// Reads the file from end to end; false if the device fails.
bool MSDPlaylistMiner::deviceDelivers(const Descriptor& file, const std::string& path,
                                      Operation& result) {
  return noteFailure(readThrough(file, cancellation.get_token()), path, result);
}

/// True for no failure of the device. Another one leaves work undone, unless it is final.
bool MSDPlaylistMiner::noteFailure(int error, const std::string& path, Operation& result) {
  if (error == 0) return true;
  const bool gone = watch->vanished(result.id, result.mountPoint) != 0;
  if (!gone && isOrdinaryRefusal(error)) return true;
  OV_WARN("cannot read playlist %s: %d", path.c_str(), error);
  if (gone) {
    leaveUndone(result, LeftUndone::MountPointGone);
  } else if (!failures->isFinal(result.deviceId, result.mountPoint, path)) {
    leaveUndone(result, LeftUndone::ReadError);
  }
  return false;
}

}  // namespace orvel
