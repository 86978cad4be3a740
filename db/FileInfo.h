#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace orvel {

/// One file that a crawler found on a device.
struct FileInfo {
  FileInfo(std::string filePath, std::uint32_t word, std::int32_t modified)
      : path(std::make_unique<std::string>(std::move(filePath))),
        auxWord(word),
        lastModified(modified) {}

  std::unique_ptr<std::string> path;  ///< never null
  std::uint32_t auxWord;              ///< mass storage: 0; MTP: the object id
  std::int32_t lastModified;          ///< seconds since the epoch, narrowed by `narrowTime`
};

/// Narrows a time stamp to 32 bits by value, modularly: a time past 2038 stays equal to itself on
/// every architecture instead of making its file look new on every run.
constexpr std::int32_t narrowTime(std::int64_t seconds) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(seconds));
}

}  // namespace orvel
