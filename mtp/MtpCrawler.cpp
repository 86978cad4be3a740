#include "mtp/MtpCrawler.h"

#include <orvel/MtpDevice.h>

#include <string>
#include <vector>

#include "base/Log.h"
#include "base/Timer.h"
#include "db/storedSongPaths.h"
#include "mtp/MtpConnection.h"
#include "phones/MtpUtils.h"
#include "phones/OwnedList.h"

namespace orvel {

namespace {
constexpr unsigned kItemsPerLogLine = 100;
}  // namespace

MtpCrawler::sink_block_type_ptr MtpCrawler::doOperation(src_block_type_ptr block) {
  OV_INFO("MtpCrawler for: %s (op:%d)",
          block->items.empty() ? "" : block->items.front()->path.c_str(), block->operation.id);
  progress->enter(RequestPhase::Crawling);
  const Timer timer;
  const Operation& operation = block->operation;
  const Found found{makeBlock<FileInfo*>(operation), makeBlock<FileInfo*>(operation),
                    makeBlock<MtpDirectory*>(operation)};
  try {
    crawl(found);
  } catch (const std::exception&) {
    // The pipeline waits for three LAST blocks: send two here, the run loop sends the third.
    leaveAllInDoubt(found, LeftUndone::StageFailed);
    sendBranches(found);
    throw;
  }
  if (!goesOn(operation)) {
    OV_WARN("setInterrupted device is not ready");
    leaveAllInDoubt(found, stopping() ? LeftUndone::Interrupted : LeftUndone::MountPointGone);
  }
  sendBranches(found);
  progress->enter(RequestPhase::Indexing);
  OV_INFO("MtpCrawler timer: %ld (op:%d) found %u", timer.elapsedMs(), operation.id,
          static_cast<unsigned>(found.songs->items.size()));
  return found.songs;
}

void MtpCrawler::crawl(const Found& found) {
  const Operation& operation = found.songs->operation;
  MtpDevice& registry = MtpDevice::instance();
  registry.setDeviceConnected(operation.handle);
  MtpConnection connection(operation.handle, operation.deviceId);
  MtpUtils::expectSongs(operation.handle, storedSongPaths(operation.deviceId));
  const bool walked = connection.crawlMtpDevice();
  OwnedElements tracks;
  OwnedElements playlists;
  if (!registry.waitDeviceReady(operation.handle)) {
    OV_ERROR("wait returned false");
    leaveAllInDoubt(found, LeftUndone::ReadError);
  } else if (!connection.loadDeviceData(tracks.out(), playlists.out())) {
    OV_ERROR("loadData Failed");
    leaveAllInDoubt(found, LeftUndone::ReadError);
  } else {
    OV_INFO("GOT back %u mtp tracks", tracks.size());
    progress->limitReached = connection.limitReached();
  }
  addTracks(found, connection, tracks);
  addPlaylists(found, playlists);
  addDirectories(found, connection, tracks);
  if (!walked) {
    leaveAllInDoubt(found, LeftUndone::ReadError);
  } else if (!connection.isComplete()) {
    leaveFoldersInDoubt(found, connection);
  }
}

void MtpCrawler::leaveAllInDoubt(const Found& found, LeftUndone reason) {
  leaveAllUndone(found, reason);
  found.songs->doubtful = {""};
  found.playlists->doubtful = {""};
}

void MtpCrawler::leaveFoldersInDoubt(const Found& found, const MtpConnection& connection) {
  leaveUndone(found.songs->operation, LeftUndone::ReadError);
  leaveUndone(found.playlists->operation, LeftUndone::ReadError);
  found.songs->doubtful = connection.doubtfulFolders();
  // The directories stay unmarked: their saver stores only unmarked blocks.
  found.directories->doubtful = connection.doubtfulFolders();
  // The path of a playlist does not tell its folder.
  found.playlists->doubtful = {""};
}

void MtpCrawler::addTracks(const Found& found, MtpConnection& connection,
                           const OwnedElements& tracks) {
  const Operation& operation = found.songs->operation;
  found.songs->items.reserve(tracks.size());
  for (unsigned i = 0; i < tracks.size() && goesOn(operation); ++i) {
    if (i % kItemsPerLogLine == 0) OV_INFO("Craweled track %u/%u", i, tracks.size());
    const t_track_id id = tracks[i].id;
    const std::string rawPath = connection.getTrackFilePath(id);
    if (rawPath.empty()) continue;  // the device has just been removed
    found.songs->add(std::make_unique<FileInfo>(
        MtpUtils::getPathForMtpTrack(id, operation.deviceId, rawPath), id, 0));
    ++progress->songsFound;
  }
}

void MtpCrawler::addPlaylists(const Found& found, const OwnedElements& playlists) {
  const Operation& operation = found.playlists->operation;
  found.playlists->items.reserve(playlists.size());
  for (unsigned i = 0; i < playlists.size() && goesOn(operation); ++i) {
    const t_track_id id = playlists[i].id;
    const std::string uri = "mtp-playlist://" + std::to_string(id);
    found.playlists->add(std::make_unique<FileInfo>(
        MtpUtils::getPathForMtpTrack(id, operation.deviceId, uri), id, 0));
    ++progress->playlistsFound;
    if (i % kItemsPerLogLine == 0) OV_INFO("Craweled playlists %u/%u", i, playlists.size());
  }
}

void MtpCrawler::addDirectories(const Found& found, MtpConnection& connection,
                                OwnedElements& tracks) {
  const Operation& operation = found.directories->operation;
  std::vector<std::string> paths;
  connection.MTPCreateDirCache(paths, tracks.get());
  found.directories->items.reserve(paths.size());
  for (const std::string& path : paths) {
    if (!goesOn(operation)) break;
    found.directories->add(
        connection.generateDirectory(path, operation.mountPoint, operation.deviceId));
    ++progress->directoriesFound;
  }
}

bool MtpCrawler::goesOn(const Operation& operation) const {
  // A host may report readiness once more after the removal.
  MtpDevice& registry = MtpDevice::instance();
  return registry.isDeviceReady(operation.handle) && registry.isDeviceConnected(operation.handle) &&
         !stopping();
}

}  // namespace orvel
