#pragma once

#include <orvel/ProgressSnapshot.h>
#include <atomic>
#include <chrono>

namespace orvel {

/// Why a request ended with work left undone.
enum class LeftUndone : unsigned {
  MountPointGone = 1U << 0,   ///< the device went away
  Interrupted = 1U << 1,      ///< the request was paused or stopped in mid-work
  StageFailed = 1U << 2,      ///< a stage failed with an error
  SizeLimit = 1U << 3,        ///< the database reached its size limit
  RowsLost = 1U << 4,         ///< the database did not take all rows
  DatabaseDamaged = 1U << 5,  ///< the database is damaged and waits to be replaced
  ReadError = 1U << 6,        ///< the device could not be read in places
  ReaderLost = 1U << 7,       ///< the process that reads tags could not be started again
  NotPrepared = 1U << 9,      ///< the database could not be prepared for the request
  Refused = 1U << 8,          ///< too many earlier requests wait for devices that do not answer
  TooLarge = 1U << 10,        ///< the database outgrew its limit and was deleted or emptied
  ReaderGivenUp = 1U << 11,   ///< too many files ended the process that reads tags
  NotIsolated = 1U << 12,     ///< isolation is required, but not to be had
};

/// The live counters of one request. Its stages write them, any thread may read them.
class RequestProgress {
 public:
  using Counter = std::atomic<unsigned>;

  Counter songsFound{0};
  Counter songsUnchanged{0};
  Counter songsAdded{0};
  Counter songsRemoved{0};
  Counter songsStored{0};
  Counter songsSkipped{0};
  Counter playlistsFound{0};
  Counter playlistsStored{0};
  Counter playlistsRefused{0};
  Counter playlistsCut{0};
  Counter directoriesFound{0};
  Counter directoriesStored{0};
  std::atomic<bool> databaseExisted{false};
  std::atomic<bool> contentModified{false};
  std::atomic<bool> songsChanged{false};      ///< since the last request
  std::atomic<bool> playlistsChanged{false};  ///< since the last request
  std::atomic<bool> limitReached{false};
  std::atomic<bool> folderLimitReached{false};
  std::atomic<bool> isolationFailed{false};
  std::atomic<const char*> status{""};  ///< a string literal

  /// Enters a phase. A failed request can only enter `Finished`.
  void enter(RequestPhase next);
  /// Marks a request that can no longer finish by itself.
  void fail() { enter(RequestPhase::Failed); }

  /// Adds a reason for people. Stages call Server::leaveUndone, which also marks the request.
  void leaveUndone(LeftUndone reason) { undone |= static_cast<unsigned>(reason); }

  /// Notes how confined the parser of a file was.
  void fileWasParsed(Confinement parser);

  /// Counts songs that are committed; the first call records the time.
  void songsWereStored(unsigned songs);
  /// Sets the number of committed folders; the first call records the time.
  void directoriesAreStored(unsigned directories);

  [[nodiscard]] ProgressSnapshot snapshot() const;

 private:
  using Clock = std::chrono::steady_clock;

  void takeTime(std::atomic<Clock::rep>& ticks) const;

  std::atomic<RequestPhase> phase{RequestPhase::Waiting};
  std::atomic<unsigned> undone{0};
  static constexpr int kUnknown = -1;
  std::atomic<int> confinement{kUnknown};  ///< the least so far
  const Clock::time_point created = Clock::now();
  // Ticks since `created`; 0 until the event.
  std::atomic<Clock::rep> firstSongAfter{0};
  std::atomic<Clock::rep> folderTreeAfter{0};
};

}  // namespace orvel
