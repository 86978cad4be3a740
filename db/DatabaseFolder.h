#pragma once

#include <string>

#include "base/Mutex.h"

namespace orvel {

/// The folder of database files: where it is, what its files are called, and who uses it.
class DatabaseFolder {
 public:
  DatabaseFolder() = default;
  ~DatabaseFolder();
  DatabaseFolder(const DatabaseFolder&) = delete;
  DatabaseFolder& operator=(const DatabaseFolder&) = delete;

  void set(const std::string& directory);
  [[nodiscard]] std::string get() const;

  /// Creates the folder with its parents, for its owner only, and takes its lock file: a warning is
  /// logged when another process indexes into the same folder.
  void create();

  /// The path of a device's database file.
  [[nodiscard]] std::string fileFor(const std::string& deviceId) const;

  /// Makes what was created and removed in the folder durable.
  void flush() const;

 private:
  void lockOnce(const std::string& directory) ORVEL_REQUIRES(mutex);

  mutable Mutex mutex;
  std::string path ORVEL_GUARDED_BY(mutex) = ORVEL_DATABASE_DIRECTORY;
  int lockFile ORVEL_GUARDED_BY(mutex) = -1;
};

}  // namespace orvel
