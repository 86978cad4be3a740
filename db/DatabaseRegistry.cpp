#include "db/DatabaseRegistry.h"

#include <algorithm>
#include <cassert>

namespace orvel {

void DatabaseRegistry::addRequest(const std::string& deviceId, const std::string& mountPoint) {
  const MutexLock lock(mutex);
  requests.emplace(deviceId, mountPoint);
}

void DatabaseRegistry::removeRequest(const std::string& deviceId,
                                     const std::string& mountPoint) noexcept {
  const MutexLock lock(mutex);
  // A search by key would allocate the key; the end of a request must not fail for want of memory.
  const auto found = std::find_if(requests.begin(), requests.end(), [&](const Key& request) {
    return request.first == deviceId && request.second == mountPoint;
  });
  assert(found != requests.end() && "the request was never added");
  if (found != requests.end()) requests.erase(found);
}

std::size_t DatabaseRegistry::countRequests(const std::string& deviceId) const {
  const MutexLock lock(mutex);
  return static_cast<std::size_t>(
      std::count_if(requests.begin(), requests.end(),
                    [&](const Key& request) { return request.first == deviceId; }));
}

bool DatabaseRegistry::hasRequest(const std::string& deviceId,
                                  const std::string& mountPoint) const {
  const MutexLock lock(mutex);
  return requests.count({deviceId, mountPoint}) != 0;
}

void DatabaseRegistry::condemn(const std::string& file) {
  const MutexLock lock(mutex);
  condemned.insert(file);
}

bool DatabaseRegistry::isCondemned(const std::string& file) const {
  const MutexLock lock(mutex);
  return condemned.count(file) != 0;
}

void DatabaseRegistry::keepStatus(const std::string& file, const std::string& mountPoint,
                                  const std::string& status) {
  const MutexLock lock(mutex);
  statuses[{file, mountPoint}] = status;
}

std::optional<std::string> DatabaseRegistry::keptStatus(const std::string& file,
                                                        const std::string& mountPoint) const {
  const MutexLock lock(mutex);
  const auto found = statuses.find({file, mountPoint});
  if (found == statuses.end()) return std::nullopt;
  return found->second;
}

void DatabaseRegistry::dropStatus(const std::string& file, const std::string& mountPoint) {
  const MutexLock lock(mutex);
  statuses.erase({file, mountPoint});
}

void DatabaseRegistry::forgetFile(const std::string& file) {
  const MutexLock lock(mutex);
  condemned.erase(file);
  std::erase_if(statuses, [&](const auto& kept) { return kept.first.first == file; });
}

}  // namespace orvel
