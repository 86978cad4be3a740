#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "base/Mutex.h"

namespace orvel {

/// The state of the devices' databases that only lives in memory: the live requests, the files that
/// were found damaged, and the statuses that a file could not take.
///
/// Every function may be called from any thread. All but `removeRequest` may throw std::bad_alloc.
class DatabaseRegistry {
 public:
  /// Call it when a request for a partition begins; returns its number. Several may be alive for
  /// the same partition.
  std::uint64_t addRequest(const std::string& deviceId, const std::string& mountPoint);
  /// Call it when that request ends.
  void removeRequest(std::uint64_t number) noexcept;
  [[nodiscard]] std::size_t countRequests(const std::string& deviceId) const;
  [[nodiscard]] bool hasRequest(const std::string& deviceId, const std::string& mountPoint) const;

  /// Tells the live requests of a device that their rows are deleted.
  void markRowsLost(const std::string& deviceId);
  [[nodiscard]] bool lostRows(std::uint64_t number) const;

  /// Marks `file` as damaged: it must be replaced before the next request.
  void condemn(const std::string& file);
  [[nodiscard]] bool isCondemned(const std::string& file) const;

  /// Keeps a status that `file` could not take; it replaces the one stored there.
  void keepStatus(const std::string& file, const std::string& mountPoint,
                  const std::string& status);
  /// The kept status of a partition; nothing when the one in the file counts.
  [[nodiscard]] std::optional<std::string> keptStatus(const std::string& file,
                                                      const std::string& mountPoint) const;
  /// Call it when the file has taken a status.
  void dropStatus(const std::string& file, const std::string& mountPoint);

  /// Call it when `file` was deleted: forgets its damage and its statuses, not the live requests.
  void forgetFile(const std::string& file);

 private:
  struct Request {
    std::string deviceId;
    std::string mountPoint;
    bool hasLostRows = false;
  };

  /// File and mount point.
  using Key = std::pair<std::string, std::string>;

  mutable Mutex mutex;
  std::uint64_t lastNumber ORVEL_GUARDED_BY(mutex) = 0;
  std::map<std::uint64_t, Request> requests ORVEL_GUARDED_BY(mutex);
  std::set<std::string> condemned ORVEL_GUARDED_BY(mutex);
  std::map<Key, std::string> statuses ORVEL_GUARDED_BY(mutex);
};

}  // namespace orvel
