#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "base/Mutex.h"

namespace orvel {

/// Tells whether the device of a request is still mounted. Shared by the stages of one pipeline.
class MountPointWatch {
 public:
  /// Remembers which file system is mounted while the operation's crawl begins. Returns 0 or the
  /// error number.
  int remember(int operationId, const std::string& mountPoint);

  /// 0 while the mount point is there, otherwise the error number: ENODEV when another file system
  /// is there now, as the empty folder that a removed stick leaves.
  [[nodiscard]] int missing(int operationId, const std::string& mountPoint) const;
  /// The same, but 0 for a mount point that was not there when the operation's crawl began.
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
