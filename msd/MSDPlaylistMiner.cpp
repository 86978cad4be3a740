#include "msd/MSDPlaylistMiner.h"

#include <orvel/DatabaseMgr.h>

#include <algorithm>
#include <utility>

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
                                   PlaylistReaderFactory readerFactory)
    : Server(stageName), watch(std::move(mountPointWatch)), makeReader(std::move(readerFactory)) {}

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
      playlists = sendAhead(playlists);
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

/// Sends the playlists read so far, so that memory stays flat. Returns a new block.
MSDPlaylistMiner::sink_block_type_ptr MSDPlaylistMiner::sendAhead(
    const sink_block_type_ptr& playlists) {
  auto rest = boost::make_shared<Block<Playlist*>>(playlists->operation);
  playlists->operation.last = false;
  if (sink != nullptr) sink->enqueue(playlists);
  return rest;
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
  auto playlist =
      std::make_unique<Playlist>(*file.path, playlists.operation.mountPoint, file.lastModified);
  if (!deviceDelivers(file, playlists.operation)) {
    playlist->refused = true;
  } else if (!parse(file, playlist, mostEntries, playlists.operation)) {
    return false;
  }
  if (playlist->refused) ++progress->playlistsRefused;
  playlists.add(std::move(playlist));
  return true;
}

/// Fills `playlist`. Returns false when reading ends here.
bool MSDPlaylistMiner::parse(const FileInfo& file, std::unique_ptr<Playlist>& playlist,
                             std::size_t mostEntries, Operation& result) {
  using Outcome = PlaylistReader::Outcome;
  if (reader == nullptr) reader = makeReader(cancellation.get_token());
  const Outcome outcome = reader->read(playlist, mostEntries);
  if (reader->isolationFailed()) progress->isolationFailed = true;
  switch (outcome) {
    case Outcome::Cut:
      ++progress->playlistsCut;
      break;
    case Outcome::Refused:
      deviceDelivers(file, result);  // may have failed since the first look
      break;
    case Outcome::Stalled:
      leaveUndone(result, LeftUndone::ReadError);
      break;
    case Outcome::Failed:
      leaveUndone(result, LeftUndone::StageFailed);
      break;
    case Outcome::Interrupted:
    case Outcome::ReaderLost:
      leaveUndone(result, outcome == Outcome::Interrupted ? LeftUndone::Interrupted
                                                          : LeftUndone::ReaderLost);
      return false;
    case Outcome::Done:
      break;
  }
  playlist->refused = outcome != Outcome::Done && outcome != Outcome::Cut;
  return true;
}

/// Reads the file from end to end. Returns false, with work left undone, if the device fails; a
/// file that is unreadable for reasons of its own is left to the parser.
bool MSDPlaylistMiner::deviceDelivers(const FileInfo& file, Operation& result) {
  const int error = readThrough(*file.path, cancellation.get_token());
  if (error == 0) return true;
  const bool gone = watch->vanished(result.id, result.mountPoint) != 0;
  if (!gone && isOrdinaryRefusal(error)) return true;
  OV_WARN("cannot read playlist %s: %d", file.path->c_str(), error);
  leaveUndone(result, gone ? LeftUndone::MountPointGone : LeftUndone::ReadError);
  return false;
}

}  // namespace orvel
