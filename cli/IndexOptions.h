#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace orvel::cli {

/// The options of `orvel index`.
struct IndexOptions {
  enum class Log { StandardError, Dlt };

  std::vector<std::string> operands;  ///< mount points, or the serial number of one phone
  bool isPhone = false;
  std::optional<std::string> scriptedFile;
  std::chrono::seconds storageWait{60};  ///< the longest wait for a locked phone
  std::optional<std::string> deviceId;
  std::string databaseFolder;
  bool inProcess = false;         ///< read tags in this process
  bool requireIsolation = false;  ///< leave songs undone rather than read them with less isolation
  bool acrossDevices = false;     ///< follow links and mounts to other file systems
  bool allowEmpty = false;        ///< index a folder without entries
  bool background = false;        ///< run with idle priority
  bool json = false;
  bool quiet = false;
  int verbosity = 0;  ///< number of -v options
  Log log = Log::StandardError;
};

}  // namespace orvel::cli
