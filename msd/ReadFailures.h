#pragma once

#include <set>
#include <string>

#include "base/Mutex.h"

namespace orvel {

/// The folders and playlists of one request that the device did not deliver, and those of the
/// request before. The second failure in a row is final: one bad sector must not keep a device
/// incomplete for ever. Each request tries all of them again nevertheless.
///
/// Shared by the stages of one pipeline; any of its threads may call.
class ReadFailures {
 public:
  /// Notes that `path` of this partition failed. True when it had failed in the request before, so
  /// that the request may be complete without it. Never true for the mount point itself, nor while
  /// more paths fail than a few bad sectors explain.
  bool isFinal(const std::string& deviceId, const std::string& mountPoint, const std::string& path);

  /// Stores the failures for the next request. An incomplete request may have missed some, so it
  /// keeps those of the request before.
  void store(const std::string& deviceId, const std::string& mountPoint, bool isComplete);

 private:
  void load(const std::string& deviceId, const std::string& mountPoint) ORVEL_REQUIRES(mutex);

  Mutex mutex;
  std::set<std::string> now ORVEL_GUARDED_BY(mutex);
  std::set<std::string> before ORVEL_GUARDED_BY(mutex);
  bool isLoaded ORVEL_GUARDED_BY(mutex) = false;
};

}  // namespace orvel
