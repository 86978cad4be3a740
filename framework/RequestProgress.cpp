#include "framework/RequestProgress.h"

#include <algorithm>
#include <utility>

namespace orvel {

namespace {

constexpr std::pair<LeftUndone, const char*> kReasons[] = {
    {LeftUndone::MountPointGone, "the device went away"},
    {LeftUndone::Interrupted, "the request was interrupted"},
    {LeftUndone::StageFailed, "a stage failed; the log names the error"},
    {LeftUndone::SizeLimit, "the database has reached its size limit"},
    {LeftUndone::RowsLost, "the database did not take all rows; is the disk full?"},
    {LeftUndone::DatabaseDamaged, "the database is damaged and is replaced by the next run"},
    {LeftUndone::ReadError, "the device could not be read in places"},
    {LeftUndone::NotPrepared,
     "the database could not be prepared; does another program hold it, or is the disk full?"},
    {LeftUndone::Refused, "too many earlier requests still wait for devices that do not answer"},
    {LeftUndone::TooLarge, "the database had grown beyond its size limit and was deleted"},
    {LeftUndone::ReaderLost,
     "a confined reader could not be started again; the log names the error"},
    {LeftUndone::ReaderGivenUp, "too many files ended their reader or took too long"},
    {LeftUndone::NotIsolated, "tags cannot be read in isolation; the log names the error"},
};

std::vector<std::string> texts(unsigned reasons) {
  std::vector<std::string> result;
  for (const auto& [reason, text] : kReasons) {
    if ((reasons & static_cast<unsigned>(reason)) != 0) result.emplace_back(text);
  }
  return result;
}

}  // namespace

void RequestProgress::enter(RequestPhase next) {
  RequestPhase current = phase;
  while (current != RequestPhase::Failed || next == RequestPhase::Finished) {
    if (phase.compare_exchange_weak(current, next)) return;
  }
}

void RequestProgress::fileWasParsed(Confinement parser) {
  const int level = static_cast<int>(parser);
  int least = confinement;
  while (least == kUnknown || level < least) {
    if (confinement.compare_exchange_weak(least, level)) return;
  }
}

void RequestProgress::songsWereStored(unsigned songs) {
  if (songs == 0) return;
  songsStored += songs;
  takeTime(firstSongAfter);
}

void RequestProgress::directoriesAreStored(unsigned directories) {
  directoriesStored = directories;
  takeTime(folderTreeAfter);
}

void RequestProgress::takeTime(std::atomic<Clock::rep>& ticks) const {
  Clock::rep none = 0;
  ticks.compare_exchange_strong(none, std::max<Clock::rep>(1, (Clock::now() - created).count()));
}

ProgressSnapshot RequestProgress::snapshot() const {
  ProgressSnapshot copy;
  copy.phase = phase;
  copy.songs = {songsFound, songsUnchanged, songsAdded, songsRemoved, songsStored, songsSkipped};
  copy.playlists = {playlistsFound, playlistsStored, playlistsRefused, playlistsCut};
  copy.directories = {directoriesFound, directoriesStored};
  const auto seconds = [](Clock::rep ticks) {
    using Seconds = std::chrono::duration<double>;
    return ticks == 0 ? std::nullopt : std::optional(Seconds(Clock::duration(ticks)).count());
  };
  copy.firstSongSeconds = seconds(firstSongAfter);
  copy.folderTreeSeconds = seconds(folderTreeAfter);
  copy.databaseExisted = databaseExisted;
  copy.contentModified = contentModified;
  copy.limitReached = limitReached;
  copy.folderLimitReached = folderLimitReached;
  copy.isolationFailed = isolationFailed;
  const int level = confinement;
  if (level != kUnknown) copy.confinement = static_cast<Confinement>(level);
  copy.leftUndone = texts(undone);
  copy.status = status.load();
  return copy;
}

}  // namespace orvel
