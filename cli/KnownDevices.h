#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "browse/MediaDatabase.h"
#include "cli/chooseDevice.h"

namespace orvel::cli {

/// A device that has a database.
struct KnownDevice {
  std::string id;
  std::string label;  ///< for people; never empty
  std::string kind;   ///< "stick", "phone" or "folder"
  std::string database;
  std::vector<browse::StoredPartition> partitions;
  std::int64_t lastIndexed = 0;  ///< seconds since 1970
  bool isAttached = false;       ///< a stick or folder that is there now; phones are not asked
};

/// The devices whose databases are in `folder` and can be read. Throws DatabaseError for a folder
/// that cannot be read.
std::vector<KnownDevice> knownDevices(const std::string& folder);

/// The known device that `wanted` names; throws like `chooseDevice`.
KnownDevice knownDevice(const std::string& wanted, const std::string& folder);

/// A moment for people, in the time zone of the system: "2026-11-22 15:40".
std::string readableTime(std::int64_t seconds);

/// The names by which people may choose `device`.
NamedDevice namesOf(const KnownDevice& device);

}  // namespace orvel::cli
