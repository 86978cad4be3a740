#pragma once

#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <string>

#include "base/DeviceRoot.h"

namespace orvel {

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

/// A folder that is open for listing; null when it could not be opened.
using OpenDirectory = std::unique_ptr<DIR, CloseDirectory>;

/// Opens a folder of a device, see `DeviceRoot::open`, which also sets errno on failure.
inline OpenDirectory openDirectory(const DeviceRoot& root, const std::string& path,
                                   struct statx& status) {
  Descriptor opened = root.open(path, status);
  OpenDirectory directory(opened ? fdopendir(opened.get()) : nullptr);
  if (directory) [[maybe_unused]]
    const int taken = opened.release();  // by `directory`
  return directory;
}

}  // namespace orvel
