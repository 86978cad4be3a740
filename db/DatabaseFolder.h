#pragma once

#include <string>

#include "base/Mutex.h"

namespace orvel {

/// The folder of the database files: its path, the names in it, and the lock that tells other
/// processes that it is in use. Every function may be called from any thread.
class DatabaseFolder {
 public:
  DatabaseFolder() = default;
  ~DatabaseFolder();
  DatabaseFolder(const DatabaseFolder&) = delete;
  DatabaseFolder& operator=(const DatabaseFolder&) = delete;

  /// Replaces the path and releases the lock on the earlier folder.
  void set(const std::string& directory);
  [[nodiscard]] std::string get() const;

  /// Creates the folder and its parents, accessible to their owner only, and locks it. Logs a
  /// warning when another process indexes into the same folder.
  void create();

  /// The path of a device's database file.
  [[nodiscard]] std::string fileFor(const std::string& deviceId) const;

  /// Makes the creation and removal of files in the folder durable.
  void flush() const;

 private:
  void lockOnce(const std::string& directory) ORVEL_REQUIRES(mutex);

  mutable Mutex mutex;
  std::string path ORVEL_GUARDED_BY(mutex) = ORVEL_DATABASE_DIRECTORY;
  int lockFile ORVEL_GUARDED_BY(mutex) = -1;
};

}  // namespace orvel
