#include "msd/ReadFailures.h"

#include <orvel/DatabaseMgr.h>

namespace orvel {

namespace {

/// A device on which more fails is failing itself.
constexpr std::size_t kMostFinal = 64;

}  // namespace

bool ReadFailures::isFinal(const std::string& deviceId, const std::string& mountPoint,
                           const std::string& path) {
  if (path == mountPoint) return false;
  const MutexLock lock(mutex);
  load(deviceId, mountPoint);
  if (now.size() <= kMostFinal) now.insert(path);
  return now.size() <= kMostFinal && before.contains(path);
}

void ReadFailures::store(const std::string& deviceId, const std::string& mountPoint,
                         bool isComplete) {
  const MutexLock lock(mutex);
  load(deviceId, mountPoint);
  std::set<std::string> failed = now;
  if (!isComplete) failed.insert(before.begin(), before.end());
  if (failed.size() > kMostFinal) failed.clear();
  if (failed == before) return;
  DatabaseMgr::instance().setUndelivered(deviceId, mountPoint, {failed.begin(), failed.end()});
}

void ReadFailures::load(const std::string& deviceId, const std::string& mountPoint) {
  if (isLoaded) return;
  const auto stored = DatabaseMgr::instance().undelivered(deviceId, mountPoint);
  before.insert(stored.begin(), stored.end());
  isLoaded = true;
}

}  // namespace orvel
