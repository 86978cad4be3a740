#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orvel {

/// Where a request is.
enum class RequestPhase { Waiting, Crawling, Indexing, Finished, Failed };

/// How much keeps the parser of tags from the host, each value more than the one before it.
enum class Confinement {
  None,               ///< nothing: it runs in the host's process
  Process,            ///< a process of its own without privileges and with limits
  Filter,             ///< and a filter that leaves it few system calls
  FilterAndLandlock,  ///< and no access to files by name, should the filter have a hole
};

/// A copy of a request's progress at one moment; plain values.
struct ProgressSnapshot {
  RequestPhase phase = RequestPhase::Waiting;
  struct Songs {
    unsigned found = 0;      ///< song files on the device
    unsigned unchanged = 0;  ///< already in the database
    unsigned added = 0;      ///< new or changed: to be read
    unsigned removed = 0;    ///< in the database, no longer on the device
    unsigned stored = 0;     ///< written to the database
    unsigned skipped = 0;    ///< to be read, but without a usable record
  } songs;
  struct Playlists {
    unsigned found = 0;
    unsigned stored = 0;   ///< read, and written to the database
    unsigned refused = 0;  ///< unreadable, or no playlist: without entries in the database
    unsigned cut = 0;      ///< with more entries than are stored: beyond 100000 of one playlist or
                           ///< 500000 of the request
  } playlists;
  struct Directories {
    unsigned found = 0;
    unsigned stored = 0;
  } directories;
  /// Seconds from the creation of the request to the first song in the database.
  std::optional<double> firstSongSeconds;
  /// Seconds from the creation of the request to the whole folder tree in the database.
  std::optional<double> folderTreeSeconds;
  bool databaseExisted = false;  ///< the last status was "OK" when the request was made
  bool contentModified = false;
  /// The host chose isolated tag reading, but tags were read in its own process.
  bool isolationFailed = false;
  /// The least confinement under which songs and playlists were parsed; empty while none were.
  std::optional<Confinement> confinement;
  /// The request stopped at `Limits::songs`. Also true for a stick with exactly that many songs.
  bool limitReached = false;
  /// The device has more folders than `Limits::folders`, or paths of more than 32 MiB in all; the
  /// other entries were not looked at.
  bool folderLimitReached = false;
  std::vector<std::string> leftUndone;  ///< texts for people; empty when nothing was left undone
  /// The stored status after the end: "OK" or "PROGRESS"; empty while the request lives.
  std::string status;
};

}  // namespace orvel
