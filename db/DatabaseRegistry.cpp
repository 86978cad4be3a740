#include "db/DatabaseRegistry.h"

#include <algorithm>
#include <cassert>

namespace orvel {

std::uint64_t DatabaseRegistry::addRequest(const std::string& deviceId,
                                           const std::string& mountPoint) {
  const MutexLock lock(mutex);
  requests.emplace(++lastNumber, Request{deviceId, mountPoint});
  return lastNumber;
}

void DatabaseRegistry::removeRequest(std::uint64_t number) noexcept {
  const MutexLock lock(mutex);
  [[maybe_unused]] const std::size_t removed = requests.erase(number);
  assert(removed == 1 && "the request was never added");
}

std::size_t DatabaseRegistry::countRequests(const std::string& deviceId) const {
  const MutexLock lock(mutex);
  return static_cast<std::size_t>(
      std::count_if(requests.begin(), requests.end(),
                    [&](const auto& request) { return request.second.deviceId == deviceId; }));
}

bool DatabaseRegistry::hasRequest(const std::string& deviceId,
                                  const std::string& mountPoint) const {
  const MutexLock lock(mutex);
  return std::any_of(requests.begin(), requests.end(), [&](const auto& request) {
    return request.second.deviceId == deviceId && request.second.mountPoint == mountPoint;
  });
}

void DatabaseRegistry::markRowsLost(const std::string& deviceId) {
  const MutexLock lock(mutex);
  for (auto& [number, request] : requests) {
    if (request.deviceId == deviceId) request.hasLostRows = true;
  }
}

bool DatabaseRegistry::lostRows(std::uint64_t number) const {
  const MutexLock lock(mutex);
  const auto found = requests.find(number);
  return found != requests.end() && found->second.hasLostRows;
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
