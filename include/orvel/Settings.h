#pragma once

#include <orvel/Export.h>
#include <orvel/Log.h>

#include <cstdint>
#include <string>

namespace orvel {

/// Where the tags of files, and playlists, are parsed.
enum class TagReading : unsigned char {
  /// In the host's process, playlists on its GLib main loop: a file that makes the parser crash
  /// takes the host with it.
  InProcess,
  /// In a process of its own that may do nothing but read the file that it was handed: such a file
  /// costs itself and at most five seconds. Where no such process can be started, in the host's.
  Isolated,
  /// The same, but never with less isolation than the kernel offers: where that is not to be had,
  /// songs are left undone.
  IsolationRequired
};

/// How Orvel competes with the host for processor and storage.
enum class WorkPriority : unsigned char {
  /// Like any other thread of the host.
  Normal,
  /// With the time that nobody else wants: playback from a device goes on while it is indexed.
  Background
};

/// Where a device's music probably comes from.
enum class TextRegion : unsigned char {
  Neutral,
  CentralEurope,
  Turkey,
  Baltic,
  Vietnam,
  EasternEurope,
  Greece,
  Arabia,
  Israel,
  Thailand,
  China,
  Taiwan,
  Japan,
  Korea
};

/// How much of one device is indexed.
struct Limits {
  /// Songs of one request; further ones are not looked at (`ProgressSnapshot::limitReached`).
  std::uint32_t songs = 16000;
  /// Folders of one request; further ones are not looked at
  /// (`ProgressSnapshot::folderLimitReached`).
  std::uint32_t folders = 65536;
  /// Size in bytes above which a device's database is deleted. Songs stop before it.
  long databaseBytes = 89128960;
};

/// All that a host can choose for the indexer of its process.
struct Settings {
  /// Folder of the database files, created with its parents; empty: the default that the library
  /// was built with, usually /var/lib/orvel.
  std::string databaseDirectory;

  /// Unless it is `InProcess` each request on a mass-storage device starts child processes, which
  /// end with it: one, or `tagReaders` when there are hundreds of songs to read. The host may leave
  /// its end (SIGCHLD) to Orvel, and may ignore SIGCHLD. When the process cannot be started, a
  /// warning is logged; with `Isolated` the request's tags are read in-process and its
  /// `ProgressSnapshot::isolationFailed` is true. How much isolation there was is in
  /// `ProgressSnapshot::confinement`.
  TagReading tagReading = TagReading::InProcess;
  /// Absolute path of the program `orvel-tag-reader`; empty: where it was installed. The program
  /// `orvel-playlist-reader`, which parses playlists for isolated requests, is looked for in the
  /// same folder.
  std::string tagReaderProgram;
  /// How many processes, or threads with `InProcess`, parse the songs of one request at the same
  /// time; 0: one for each of the processor's cores, three at most. Each takes some 1.2 MB.
  unsigned tagReaders = 0;

  /// The priority of the threads and processes that Orvel starts. `Background` is SCHED_IDLE and
  /// the idle class of I/O priorities, for which no privilege is needed; a system that refuses them
  /// is logged, and the work goes on. The I/O priority counts where the device's I/O scheduler
  /// heeds it, as bfq does. On a processor that is never idle indexing hardly goes on, and calls
  /// that wait for a superseded request wait accordingly.
  WorkPriority workPriority = WorkPriority::Normal;

  /// In doubt the encodings of this region are preferred; clear cases do not change.
  TextRegion textRegion = TextRegion::Neutral;

  /// Lines above this level are dropped before they are formatted.
  LogLevel logThreshold = LogLevel::Warning;
  /// Receives the log; null: the standard error stream, where lines have their priority if it leads
  /// to the system's journal.
  LogSink logSink = nullptr;
  /// Passed to `logSink`.
  void* logSinkUser = nullptr;
  /// Sends the log to Diagnostic Log and Trace as this application (four characters) instead, in a
  /// library that was built with it; empty: not. A process keeps the first name that it was given.
  std::string dltApplicationId;
  /// Log lines carry the full signature of their function instead of its short name.
  bool logFullSignatures = false;

  Limits limits;

  /// Follows a device's links and mounts to other file systems, except to /proc. Off, because a
  /// link on a stranger's stick must not lead to the host's own files; for folders of the host's.
  bool acrossDevices = false;
};

/// Replaces all settings of the process. Call it before the first request; a call while requests
/// are alive counts for later ones, apart from the log, for which it counts at once. When it
/// returns, no thread is inside the earlier log sink any more. Not thread-safe against itself.
/// Throws std::runtime_error when `dltApplicationId` is given and the library was built without
/// Diagnostic Log and Trace; nothing has changed then.
ORVEL_EXPORT void configure(const Settings& settings);

}  // namespace orvel
