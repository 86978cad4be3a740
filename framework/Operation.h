#pragma once

#include <string>
#include <utility>

namespace orvel {

/// The request that a block belongs to. A plain value that travels with every block.
struct Operation {
  Operation(int operationId, unsigned int deviceHandle, const std::string& device,
            const std::string& mount, bool isLast)
      : id(operationId), handle(deviceHandle), deviceId(device), mountPoint(mount), last(isLast) {}

  int id;               ///< counts the requests of one controller from 1
  unsigned int handle;  ///< MTP device handle; 0 for mass storage
  std::string deviceId;
  std::string mountPoint;  ///< "mtp-folder://" and the device id for MTP
  bool last;               ///< closes the request at the stage that produced the block
  bool skipped = false;    ///< work was left undone: the request ends with status "PROGRESS"
};

}  // namespace orvel
