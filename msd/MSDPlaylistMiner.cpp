#include "msd/MSDPlaylistMiner.h"

#include <glib.h>

#include <atomic>
#include <stop_token>
#include <utility>

#include "base/Log.h"
#include "base/ReadError.h"
#include "msd/PlaylistGuard.h"
#include "msd/PlaylistParser.h"

namespace orvel {

namespace {

using SharedWrapper = std::shared_ptr<PlaylistWrapper>;

/// Orders each hand-over to the main loop where thread checkers see it: they cannot see into GLib's
/// own locks.
std::atomic<unsigned> handOvers{0};

gboolean parseOnce(gpointer wrapper) {
  handOvers.load(std::memory_order_acquire);
  extractPlaylist(static_cast<SharedWrapper*>(wrapper)->get());
  return FALSE;
}

void releaseWrapper(gpointer wrapper) {
  delete static_cast<SharedWrapper*>(wrapper);
}

/// One parse that the main loop is to run, taken back when it goes out of scope.
class ScheduledParse {
 public:
  explicit ScheduledParse(const SharedWrapper& wrapper) {
    auto shared = std::make_unique<SharedWrapper>(wrapper);
    source = g_timeout_source_new_seconds(0);
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
                                   std::shared_ptr<MountPointWatch> mountPointWatch)
    : Server(stageName), watch(std::move(mountPointWatch)) {}

MSDPlaylistMiner::sink_block_type_ptr MSDPlaylistMiner::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  OV_INFO("MSDPlaylistMiner for: %u (op: %d)", static_cast<unsigned>(block->items.size()),
          operation.id);
  auto playlists = boost::make_shared<Block<Playlist*>>(operation);
  playlists->items.reserve(block->items.size());
  const auto wrapper = std::make_shared<PlaylistWrapper>();
  for (const FileInfo* file : block->items) {
    if (!mine(*file, wrapper, *playlists)) break;
  }
  OV_INFO("MSDPlaylistMiner done (op: %d)", operation.id);
  return playlists;
}

/// Returns false when the stage was stopped meanwhile.
bool MSDPlaylistMiner::mine(const FileInfo& file, const SharedWrapper& wrapper,
                            Block<Playlist*>& playlists) {
  using Parse = PlaylistWrapper::Parse;
  auto playlist =
      std::make_unique<Playlist>(*file.path, playlists.operation.mountPoint, file.lastModified);
  if (const char* const harm = harmOfPlaylist(*file.path)) {
    OV_WARN("playlist not parsed, since %s: %s", harm, file.path->c_str());
  } else if (deviceDelivers(file, playlists)) {
    switch (parseOnMainLoop(playlist, wrapper)) {
      case Parse::Pending:
        leaveUndone(playlists.operation, LeftUndone::Interrupted);
        return false;
      case Parse::Done:
        break;
      case Parse::Refused:
        deviceDelivers(file, playlists);
        break;
      case Parse::Failed:
        leaveUndone(playlists.operation, LeftUndone::StageFailed);
        break;
    }
  }
  playlists.add(std::move(playlist));
  return true;
}

/// Returns false, with work left undone, when it is the device that keeps the file from being read.
bool MSDPlaylistMiner::deviceDelivers(const FileInfo& file, Block<Playlist*>& playlists) {
  const Operation& operation = playlists.operation;
  const int error = readThrough(*file.path, cancellation.get_token());
  if (error == 0) return true;
  const bool gone = watch->vanished(operation.id, operation.mountPoint) != 0;
  if (!gone && isOrdinaryRefusal(error)) return true;
  OV_WARN("cannot read playlist %s: %d", file.path->c_str(), error);
  leaveUndone(playlists.operation, gone ? LeftUndone::MountPointGone : LeftUndone::ReadError);
  return false;
}

/// Returns `Pending`, without the playlist, when the stage was stopped meanwhile.
PlaylistWrapper::Parse MSDPlaylistMiner::parseOnMainLoop(std::unique_ptr<Playlist>& playlist,
                                                         const SharedWrapper& wrapper) {
  using Parse = PlaylistWrapper::Parse;
  const std::stop_token stopped = cancellation.get_token();
  const std::stop_callback wake(stopped, [&wrapper] {
    const MutexLock lock(wrapper->mutex);
    wrapper->cond.broadcast();
  });
  // Held from before the parse is scheduled until the wait begins, so that the broadcast cannot
  // come before the wait.
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
