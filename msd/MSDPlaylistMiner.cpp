#include "msd/MSDPlaylistMiner.h"

#include <glib.h>

#include <atomic>
#include <exception>
#include <stop_token>
#include <utility>

#include "msd/PlaylistGuard.h"
#include "msd/PlaylistParser.h"
#include "platform/common/Log.h"

namespace orvel {

namespace {

using SharedWrapper = std::shared_ptr<PlaylistWrapper>;

/// Orders each hand-over to the main loop where thread checkers see it: they cannot see into GLib's
/// own locks.
std::atomic<unsigned> handOvers{0};

gboolean parseOnce(gpointer wrapper) {
  handOvers.load(std::memory_order_acquire);
  try {
    extractPlaylist(static_cast<SharedWrapper*>(wrapper)->get());
  } catch (const std::exception& error) {
    OV_ERROR("a playlist could not be parsed: %s", error.what());
  }
  return FALSE;
}

void releaseWrapper(gpointer wrapper) {
  delete static_cast<SharedWrapper*>(wrapper);
}

/// One parse that the main loop is to run, taken back when it goes out of scope.
class ScheduledParse {
 public:
  explicit ScheduledParse(const SharedWrapper& wrapper) : source(g_timeout_source_new_seconds(0)) {
    g_source_set_callback(source, parseOnce, new SharedWrapper(wrapper), releaseWrapper);
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

MSDPlaylistMiner::sink_block_type_ptr MSDPlaylistMiner::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  OV_INFO("MSDPlaylistMiner for: %u (op: %d)", static_cast<unsigned>(block->items.size()),
          operation.id);
  auto playlists = boost::make_shared<Block<Playlist*>>(operation);
  playlists->items.reserve(block->items.size());
  const auto wrapper = std::make_shared<PlaylistWrapper>();
  for (const FileInfo* file : block->items) {
    std::unique_ptr<Playlist> playlist = mine(*file, operation.mountPoint, wrapper);
    if (playlist == nullptr) {
      playlists->operation.skipped = true;
      progress->leaveUndone(LeftUndone::Interrupted);
      break;
    }
    playlists->add(std::move(playlist));
  }
  OV_INFO("MSDPlaylistMiner done (op: %d)", operation.id);
  return playlists;
}

/// Returns null when the stage was stopped meanwhile.
std::unique_ptr<Playlist> MSDPlaylistMiner::mine(const FileInfo& file,
                                                 const std::string& mountPoint,
                                                 const SharedWrapper& wrapper) {
  auto playlist = std::make_unique<Playlist>(*file.path, mountPoint, file.lastModified);
  if (const char* const harm = harmOfPlaylist(*file.path)) {
    OV_WARN("playlist not parsed, since %s: %s", harm, file.path->c_str());
    return playlist;
  }
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
  wrapper->parsed = false;
  const ScheduledParse scheduled(wrapper);
  while (!wrapper->parsed && !stopped.stop_requested()) wrapper->cond.wait(wrapper->mutex);
  wrapper->abandoned = !wrapper->parsed;
  return wrapper->abandoned ? nullptr : std::move(wrapper->owner);
}

}  // namespace orvel
