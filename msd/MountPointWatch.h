#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "base/Mutex.h"

namespace orvel {

/// Tells whether the device of a request is still mounted. Shared by the stages of one pipeline.
class MountPointWatch {
 public:
  /// Remembers the file system that is mounted when the operation's crawl begins. Returns 0 or an
  /// errno.
  int remember(int operationId, const std::string& mountPoint);

  /// Returns 0 while the mount point is there, otherwise an errno: ENODEV if another file system
  /// took its place, such as that of the empty folder that a removed stick leaves.
  [[nodiscard]] int missing(int operationId, const std::string& mountPoint) const;
  /// Like `missing`, but 0 if the mount point was not there when the operation's crawl began.
  [[nodiscard]] int vanished(int operationId, const std::string& mountPoint) const;

 private:
  struct Mounted {
    int operationId;
    dev_t device;
  };

  mutable Mutex mutex;
  std::optional<Mounted> mounted ORVEL_GUARDED_BY(mutex);
};

}  // namespace orvel
