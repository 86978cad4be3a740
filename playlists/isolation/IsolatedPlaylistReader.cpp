#include "playlists/isolation/IsolatedPlaylistReader.h"

#include <cassert>
#include <exception>
#include <string_view>
#include <utility>

#include "base/Log.h"
#include "playlists/PlaylistGuard.h"

namespace orvel {

namespace {

constexpr int kMostFaults = 64;

}  // namespace

IsolatedPlaylistReader::IsolatedPlaylistReader(std::stop_token token, std::string workerProgram,
                                               TagReading chosen, std::chrono::milliseconds limit)
    : stopped(token),
      policy(chosen),
      timeLimit(limit),
      starter(std::move(token), std::move(workerProgram), chosen == TagReading::IsolationRequired) {
}

PlaylistReader::Outcome IsolatedPlaylistReader::read(const Descriptor& file,
                                                     std::unique_ptr<Playlist>& playlist,
                                                     std::size_t mostEntries) {
  assert(playlist != nullptr);
  if (inProcess) return inProcess->read(file, playlist, mostEntries);
  if (faults >= kMostFaults) return Outcome::GivenUp;
  if (const char* const misfit = misfitOfPlaylist(file)) {
    OV_WARN("playlist not parsed, since %s: %s", misfit, playlist->path.c_str());
    return Outcome::Refused;
  }
  try {
    const Outcome outcome = parse(*playlist, file, mostEntries);
    return inProcess ? inProcess->read(file, playlist, mostEntries) : outcome;
  } catch (const std::exception& error) {
    OV_ERROR("a playlist could not be parsed: %s", error.what());
    worker.reset();
    return Outcome::Failed;
  }
}

std::optional<Confinement> IsolatedPlaylistReader::confinement() const {
  if (inProcess) return Confinement::None;
  return wasStarted ? std::optional(starter.confinement()) : std::nullopt;
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
  if (stopped.stop_requested()) return Outcome::Interrupted;
  return wasStarted ? Outcome::ReaderLost : Outcome::NotIsolated;
}

PlaylistReader::Outcome IsolatedPlaylistReader::settle(const Playlist& playlist,
                                                       playlistMessages::End end) {
  OV_INFO("%s %s", nameOf(end.verdict), playlist.path.c_str());
  if (end.verdict != PlaylistVerdict::Success) return Outcome::Refused;
  return end.isCut ? Outcome::Cut : Outcome::Done;
}

/// Starts a worker unless one is up; returns false when there is none.
bool IsolatedPlaylistReader::ensureRunning() {
  if (stopped.stop_requested()) return false;
  if (worker) return true;
  if (starter.start(worker, [] {})) {
    workerStarted();
    return true;
  }
  if (!stopped.stop_requested()) startFailed();
  return false;
}

void IsolatedPlaylistReader::workerStarted() {
  if (!std::exchange(wasStarted, true) && starter.confinement() != Confinement::FilterAndLandlock) {
    OV_WARN("the playlist reader is less isolated than it could be: %s",
            starter.missingLayers().c_str());
  }
}

void IsolatedPlaylistReader::startFailed() {
  const char* const program = starter.path().c_str();
  const char* const reason = starter.failure().c_str();
  if (wasStarted) {
    OV_ERROR("the playlist reader %s cannot be started again: %s", program, reason);
  } else if (policy == TagReading::IsolationRequired) {
    OV_ERROR("the playlist reader %s cannot be started, no playlists are read: %s", program,
             reason);
  } else {
    OV_WARN("the playlist reader %s cannot be started, playlists are parsed without isolation: %s",
            program, reason);
    inProcess.emplace(stopped);
  }
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
