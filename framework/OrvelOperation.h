#pragma once

#include <sys/time.h>

#include <string>

namespace orvel {

/// The controller's record of one request, and the key of its table.
///
/// Ordered by handle, device id, mount point and operation id; the other fields take no part. Read
/// and written under the controller's lock or by the pipeline's own thread.
struct OrvelOperation {
  unsigned int handle = 0;
  std::string deviceId;
  std::string mountPoint;
  timeval startTime{};
  timeval endTime{};
  int resultCount = 0;  ///< LAST blocks that have come back to the pipeline
  int opId = -1;
  bool skipped = false;  ///< a LAST block that came back left work undone

  bool operator<(const OrvelOperation& other) const;
};

}  // namespace orvel
