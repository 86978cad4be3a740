#include "playlists/MainLoopPlaylistReader.h"

#include <glib.h>

#include <atomic>
#include <cassert>
#include <utility>

#include "base/Log.h"
#include "playlists/PlaylistGuard.h"
#include "playlists/PlaylistParser.h"

namespace orvel {

namespace {

using SharedWrapper = std::shared_ptr<PlaylistWrapper>;
using Parse = PlaylistWrapper::Parse;

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

PlaylistReader::Outcome outcomeOf(Parse parse) {
  using Outcome = PlaylistReader::Outcome;
  switch (parse) {
    case Parse::Done:
      return Outcome::Done;
    case Parse::Cut:
      return Outcome::Cut;
    case Parse::Refused:
      return Outcome::Refused;
    case Parse::Failed:
      return Outcome::Failed;
    case Parse::Pending:
      break;
  }
  return Outcome::Interrupted;
}

}  // namespace

MainLoopPlaylistReader::MainLoopPlaylistReader(std::stop_token token)
    : stopped(std::move(token)), wrapper(std::make_shared<PlaylistWrapper>()) {}

PlaylistReader::Outcome MainLoopPlaylistReader::read(const Descriptor& file,
                                                     std::unique_ptr<Playlist>& playlist,
                                                     std::size_t mostEntries) {
  assert(playlist != nullptr);
  if (const char* const harm = harmOfPlaylist(file)) {
    OV_WARN("playlist not parsed, since %s: %s", harm, playlist->path.c_str());
    return Outcome::Refused;
  }
  wrapper->mostEntries = mostEntries;
  return outcomeOf(parse(playlist));
}

/// Lends `playlist` to the main loop and waits for its parse. Returns `Pending`, without the
/// playlist, when the stage was stopped meanwhile.
Parse MainLoopPlaylistReader::parse(std::unique_ptr<Playlist>& playlist) const {
  const std::stop_callback wake(stopped, [this] {
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
