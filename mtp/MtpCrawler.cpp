#include "mtp/MtpCrawler.h"

#include <string>
#include <vector>

#include <orvel/MtpDevice.h>
#include "base/Log.h"
#include "base/Timer.h"
#include "mtp/MtpConnection.h"
#include "phones/MtpUtils.h"
#include "phones/OwnedList.h"

namespace orvel {

namespace {

constexpr unsigned kItemsPerLogLine = 100;

}  // namespace

/// What one request's crawl has found.
struct MtpCrawler::Found {
  Found(MtpCrawler& crawler, const Operation& operation)
      : tracks(crawler.makeBlock<FileInfo*>(operation)),
        playlists(crawler.makeBlock<FileInfo*>(operation)),
        directories(crawler.makeBlock<MtpDirectory*>(operation)) {}

  /// Marks all that is sent: work was left undone.
  void markSkipped() const {
    tracks->operation.skipped = true;
    playlists->operation.skipped = true;
    directories->operation.skipped = true;
  }

  boost::shared_ptr<Block<FileInfo*>> tracks;
  boost::shared_ptr<Block<FileInfo*>> playlists;
  boost::shared_ptr<Block<MtpDirectory*>> directories;
};

MtpCrawler::sink_block_type_ptr MtpCrawler::doOperation(src_block_type_ptr block) {
  OV_INFO("MtpCrawler for: %s (op:%d)",
          block->items.empty() ? "" : block->items.front()->path.c_str(), block->operation.id);
  progress->enter(RequestPhase::Crawling);
  const Timer timer;
  Found found(*this, block->operation);
  try {
    crawl(found);
  } catch (const std::exception&) {
    // The pipeline counts three LAST blocks: a failed crawl must not hold two of them back.
    found.markSkipped();
    sendBranches(found.directories, found.playlists);
    throw;
  }
  if (!goesOn(block->operation)) {
    OV_WARN("setInterrupted device is not ready");
    progress->leaveUndone(stopping() ? LeftUndone::Interrupted : LeftUndone::MountPointGone);
    found.markSkipped();
  }
  sendBranches(found.directories, found.playlists);
  progress->enter(RequestPhase::Indexing);
  OV_INFO("MtpCrawler timer: %ld (op:%d) found %u", timer.elapsedMs(), found.tracks->operation.id,
          static_cast<unsigned>(found.tracks->items.size()));
  return found.tracks;
}

void MtpCrawler::crawl(Found& found) {
  const Operation& operation = found.tracks->operation;
  MtpDevice& registry = MtpDevice::instance();
  registry.setDeviceConnected(operation.handle);
  MtpConnection connection(operation.handle, operation.deviceId);
  const bool walked = connection.crawlMtpDevice();
  OwnedElements tracks;
  OwnedElements playlists;
  if (!registry.waitDeviceReady(operation.handle)) {
    OV_ERROR("wait returned false");
    progress->leaveUndone(LeftUndone::ReadError);
    found.markSkipped();
  } else if (!connection.loadDeviceData(tracks.out(), playlists.out())) {
    OV_ERROR("loadData Failed");
    progress->leaveUndone(LeftUndone::ReadError);
    found.markSkipped();
  } else {
    OV_INFO("GOT back %u mtp tracks", tracks.size());
    progress->limitReached = connection.limitReached();
  }
  if (!walked || !connection.isComplete()) {
    // What was not seen is deleted from the database: the next request has to look again. The
    // directories that were seen are stored all the same.
    progress->leaveUndone(LeftUndone::ReadError);
    found.tracks->operation.skipped = true;
    found.playlists->operation.skipped = true;
  }
  addTracks(found, connection, tracks);
  addPlaylists(found, playlists);
  addDirectories(found, connection, tracks);
}

void MtpCrawler::addTracks(Found& found, MtpConnection& connection, const OwnedElements& tracks) {
  const Operation& operation = found.tracks->operation;
  found.tracks->items.reserve(tracks.size());
  for (unsigned i = 0; i < tracks.size() && goesOn(operation); ++i) {
    if (i % kItemsPerLogLine == 0) OV_INFO("Craweled track %u/%u", i, tracks.size());
    const t_track_id id = tracks[i].id;
    const std::string rawPath = connection.getTrackFilePath(id);
    found.tracks->add(std::make_unique<FileInfo>(
        MtpUtils::getPathForMtpTrack(id, operation.deviceId, rawPath), id, 0));
    ++progress->songsFound;
  }
}

void MtpCrawler::addPlaylists(Found& found, const OwnedElements& playlists) {
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

void MtpCrawler::addDirectories(Found& found, MtpConnection& connection, OwnedElements& tracks) {
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
  return MtpDevice::instance().isDeviceReady(operation.handle) && !stopping();
}

}  // namespace orvel
