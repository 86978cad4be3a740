#include "msd/MSDPlaylistMiner.h"

#include <glib.h>
#include <orvel/DatabaseMgr.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <stop_token>
#include <utility>

#include "base/Log.h"
#include "base/ReadError.h"
#include "framework/RequestProgress.h"
#include "msd/PlaylistGuard.h"
#include "msd/PlaylistParser.h"

namespace orvel {

namespace {

using SharedWrapper = std::shared_ptr<PlaylistWrapper>;

constexpr std::size_t kMostEntriesOfList = 100000;
constexpr std::size_t kMostEntriesOfRequest = 500000;
/// A block with as many entries is sent on.
constexpr std::size_t kEntriesOfBlock = 10000;

/// Orders each hand-over to the main loop for thread checkers, which cannot see GLib's own locks.
std::atomic<unsigned> handOvers{0};

gboolean parseOnce(gpointer wrapper) {
  handOvers.load(std::memory_order_acquire);
  extractPlaylist(static_cast<SharedWrapper*>(wrapper)->get());
  return FALSE;
}

void releaseWrapper(gpointer wrapper) {
  delete static_cast<SharedWrapper*>(wrapper);
}

/// Schedules one parse on the main loop while in scope.
class ScheduledParse {
 public:
  explicit ScheduledParse(const SharedWrapper& wrapper) {
    auto shared = std::make_unique<SharedWrapper>(wrapper);
    source = g_timeout_source_new(0);
    g_source_set_callback(source, parseOnce, shared.release(), releaseWrapper);
    handOvers.fetch_add(1, std::memory_order_release);
    g_source_attach(source, nullptr);
  }
  ~ScheduledParse() {
    g_source_destroy(source);
    g_source_unref(source);
  }
  ScheduledParse(const ScheduledParse&) = delete;
  ScheduledParse& operator=(const ScheduledParse&) = delete;

 private:
  GSource* source;
};

}  // namespace

MSDPlaylistMiner::MSDPlaylistMiner(const char* stageName,
                                   std::shared_ptr<MountPointWatch> mountPointWatch,
                                   std::shared_ptr<ReadFailures> readFailures)
    : Server(stageName), watch(std::move(mountPointWatch)), failures(std::move(readFailures)) {}

MSDPlaylistMiner::sink_block_type_ptr MSDPlaylistMiner::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  OV_INFO("MSDPlaylistMiner for: %u (op: %d)", static_cast<unsigned>(block->items.size()),
          operation.id);
  auto playlists = boost::make_shared<Block<Playlist*>>(operation);
  const auto wrapper = std::make_shared<PlaylistWrapper>();
  std::size_t entriesLeft = kMostEntriesOfRequest;
  std::size_t entriesInBlock = 0;
  for (const FileInfo* file : block->items) {
    if (entriesInBlock >= kEntriesOfBlock) {
      playlists = sendAhead(playlists);
      entriesInBlock = 0;
    }
    if (isDatabaseFull(playlists->operation)) break;
    if (entriesLeft == 0) {
      ++progress->playlistsCut;
      continue;
    }
    wrapper->mostEntries = std::min(entriesLeft, kMostEntriesOfList);
    if (!mine(*file, wrapper, *playlists)) break;
    const std::size_t entries = playlists->items.back()->entries.size();
    entriesLeft -= entries;
    entriesInBlock += entries;
  }
  OV_INFO("MSDPlaylistMiner done (op: %d)", operation.id);
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

/// Returns false when a stop cut the file short.
bool MSDPlaylistMiner::mine(const FileInfo& file, const SharedWrapper& wrapper,
                            Block<Playlist*>& playlists) {
  auto playlist =
      std::make_unique<Playlist>(*file.path, playlists.operation.mountPoint, file.lastModified);
  if (const char* const harm = harmOfPlaylist(*file.path)) {
    OV_WARN("playlist not parsed, since %s: %s", harm, file.path->c_str());
    playlist->refused = true;
  } else if (!deviceDelivers(file, playlists.operation)) {
    playlist->refused = true;
  } else if (!parse(file, playlist, wrapper, playlists.operation)) {
    return false;
  }
  if (playlist->refused) ++progress->playlistsRefused;
  playlists.add(std::move(playlist));
  return true;
}

/// Fills `playlist`. Returns false, without the playlist, when the stage was stopped meanwhile.
bool MSDPlaylistMiner::parse(const FileInfo& file, std::unique_ptr<Playlist>& playlist,
                             const SharedWrapper& wrapper, Operation& result) {
  using Parse = PlaylistWrapper::Parse;
  const Parse parsed = parseOnMainLoop(playlist, wrapper);
  if (parsed == Parse::Pending) {
    leaveUndone(result, LeftUndone::Interrupted);
    return false;
  }
  playlist->refused = parsed == Parse::Refused || parsed == Parse::Failed;
  if (parsed == Parse::Refused)
    deviceDelivers(file, result);  // may have failed since the first look
  if (parsed == Parse::Failed) leaveUndone(result, LeftUndone::StageFailed);
  if (parsed == Parse::Cut) ++progress->playlistsCut;
  return true;
}

/// Reads the file from end to end. Returns false if the device fails, the first time with work left
/// undone; a file that is unreadable for reasons of its own is left to the parser.
bool MSDPlaylistMiner::deviceDelivers(const FileInfo& file, Operation& result) {
  const int error = readThrough(*file.path, cancellation.get_token());
  if (error == 0) return true;
  const bool gone = watch->vanished(result.id, result.mountPoint) != 0;
  if (!gone && isOrdinaryRefusal(error)) return true;
  OV_WARN("cannot read playlist %s: %d", file.path->c_str(), error);
  if (gone) {
    leaveUndone(result, LeftUndone::MountPointGone);
  } else if (!failures->isFinal(result.deviceId, result.mountPoint, *file.path)) {
    leaveUndone(result, LeftUndone::ReadError);
  }
  return false;
}

/// Lends `playlist` to the main loop and waits for its parse. Returns `Pending`, without the
/// playlist, when the stage was stopped meanwhile.
PlaylistWrapper::Parse MSDPlaylistMiner::parseOnMainLoop(std::unique_ptr<Playlist>& playlist,
                                                         const SharedWrapper& wrapper) {
  using Parse = PlaylistWrapper::Parse;
  assert(playlist != nullptr);
  const std::stop_token stopped = cancellation.get_token();
  const std::stop_callback wake(stopped, [&wrapper] {
    const MutexLock lock(wrapper->mutex);
    wrapper->cond.broadcast();
  });
  // Lock before scheduling: the broadcast must not come before the wait.
  const MutexLock lock(wrapper->mutex);
  wrapper->playlist = playlist.get();
  wrapper->owner = std::move(playlist);
  wrapper->parse = Parse::Pending;
  const ScheduledParse scheduled(wrapper);
  while (wrapper->parse == Parse::Pending && !stopped.stop_requested()) {
    wrapper->cond.wait(wrapper->mutex);
  }
  wrapper->abandoned = wrapper->parse == Parse::Pending;
  if (!wrapper->abandoned) playlist = std::move(wrapper->owner);
  return wrapper->parse;
}

}  // namespace orvel
