#include "playlists/isolation/IsolatedPlaylistReader.h"

#include <cassert>
#include <exception>
#include <string_view>
#include <utility>

#include "base/Log.h"
#include "isolation/startWorker.h"
#include "playlists/PlaylistGuard.h"

namespace orvel {

namespace {

constexpr int kMostFaults = 64;

}  // namespace

IsolatedPlaylistReader::IsolatedPlaylistReader(std::stop_token token, std::string workerProgram,
                                               std::chrono::milliseconds limit)
    : stopped(std::move(token)), program(std::move(workerProgram)), timeLimit(limit) {}

PlaylistReader::Outcome IsolatedPlaylistReader::read(std::unique_ptr<Playlist>& playlist,
                                                     std::size_t mostEntries) {
  assert(playlist != nullptr);
  if (inProcess) return inProcess->read(playlist, mostEntries);
  const Descriptor file = Descriptor::ofFile(playlist->path);
  if (const char* const misfit = misfitOfPlaylist(file)) {
    OV_WARN("playlist not parsed, since %s: %s", misfit, playlist->path.c_str());
    return Outcome::Refused;
  }
  try {
    const Outcome outcome = parse(*playlist, file, mostEntries);
    return inProcess ? inProcess->read(playlist, mostEntries) : outcome;
  } catch (const std::exception& error) {
    OV_ERROR("a playlist could not be parsed: %s", error.what());
    worker.reset();
    return Outcome::Failed;
  }
}

/// Asks one worker after the other until one answers or the list is given up.
PlaylistReader::Outcome IsolatedPlaylistReader::parse(Playlist& playlist, const Descriptor& file,
                                                      std::size_t mostEntries) {
  WaitBudget budget(timeLimit);
  bool wasAsked = false;
  while (ensureRunning()) {
    playlist.entries.clear();
    const playlistMessages::Request request{++lastId, static_cast<std::uint32_t>(mostEntries),
                                            playlist.path};
    if (!worker->send(request, file)) break;
    const auto end = worker->receive(
        request, budget, [&](std::string_view path) { playlist.addTrack(std::string(path)); });
    // The parser reports a passing read error like a file that is no playlist: ask once more.
    if (end && (end->verdict == PlaylistVerdict::Success || wasAsked)) {
      return settle(playlist, *end);
    }
    wasAsked = wasAsked || end;
    if (end) continue;
    if (stopped.stop_requested()) break;
    if (budget.isSpent() || !worker->hasAnswered()) return blame(playlist);
    worker.reset();
  }
  worker.reset();
  return stopped.stop_requested() ? Outcome::Interrupted : Outcome::ReaderLost;
}

PlaylistReader::Outcome IsolatedPlaylistReader::settle(const Playlist& playlist,
                                                       playlistMessages::End end) {
  OV_INFO("%s %s", nameOf(end.verdict), playlist.path.c_str());
  if (end.verdict != PlaylistVerdict::Success) return Outcome::Refused;
  return end.isCut ? Outcome::Cut : Outcome::Done;
}

/// Starts a worker unless one is up; returns false when there is none.
bool IsolatedPlaylistReader::ensureRunning() {
  if (stopped.stop_requested() || faults >= kMostFaults) return false;
  if (worker) return true;
  std::string reason;
  const auto confinement = startWorker(
      worker, stopped, program, [] {}, reason);
  if (confinement) {
    workerStarted(*confinement);
    return true;
  }
  worker.reset();
  if (!stopped.stop_requested()) startFailed(reason);
  return false;
}

void IsolatedPlaylistReader::workerStarted(workerProtocol::Confinement confinement) {
  if (!std::exchange(wasStarted, true) && !confinement.systemCalls) {
    OV_WARN("the playlist reader may use every system call: this kernel has no filter for them");
  }
}

void IsolatedPlaylistReader::startFailed(const std::string& reason) {
  if (wasStarted) {
    OV_ERROR("the playlist reader %s cannot be started again: %s", program.c_str(), reason.c_str());
    return;
  }
  OV_WARN("the playlist reader %s cannot be started, playlists are parsed without isolation: %s",
          program.c_str(), reason.c_str());
  inProcess.emplace(stopped);
}

/// Ends a worker that failed because of this list.
PlaylistReader::Outcome IsolatedPlaylistReader::blame(Playlist& playlist) {
  playlist.entries.clear();
  const bool isStalled = worker->hasStalled();
  const std::string failure = worker->end();
  worker.reset();
  OV_WARN("playlist reader %s for playlist: %s",
          isStalled ? "waits for the device" : failure.c_str(), playlist.path.c_str());
  if (++faults == kMostFaults) {
    OV_ERROR("too many playlists end the playlist reader: no more are parsed");
  }
  return isStalled ? Outcome::Stalled : Outcome::Refused;
}

}  // namespace orvel
