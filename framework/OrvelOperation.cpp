#include "framework/OrvelOperation.h"

#include <tuple>

namespace orvel {

bool OrvelOperation::operator<(const OrvelOperation& other) const {
  return std::tie(handle, deviceId, mountPoint, opId) <
         std::tie(other.handle, other.deviceId, other.mountPoint, other.opId);
}

}  // namespace orvel
