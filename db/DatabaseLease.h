#pragma once

#include <orvel/DatabaseMgr.h>

#include <string>

namespace orvel {

/// Marks a request for one partition of a device as alive for as long as it exists.
class DatabaseMgr::Lease {
 public:
  Lease(std::string device, std::string mountPoint);
  ~Lease();
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;

 private:
  std::string deviceId;
  std::string partition;
};

}  // namespace orvel
