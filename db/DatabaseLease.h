#pragma once

#include <orvel/DatabaseMgr.h>

#include <cstdint>
#include <string>

namespace orvel {

/// Marks a request for one partition of a device as alive for as long as it exists.
class DatabaseMgr::Lease {
 public:
  Lease(const std::string& deviceId, const std::string& mountPoint);
  ~Lease();

  /// True once the database was emptied for its size while the request was alive.
  [[nodiscard]] bool lostRows() const;

  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;

 private:
  const std::uint64_t number;
};

}  // namespace orvel
