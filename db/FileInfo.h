#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace orvel {

/// One file that a crawler has found on a device.
struct FileInfo {
  FileInfo(std::string filePath, std::uint32_t word, std::int32_t modified)
      : path(std::make_unique<std::string>(std::move(filePath))),
        auxWord(word),
        lastModified(modified) {}

  std::unique_ptr<std::string> path;  ///< never null
  std::uint32_t auxWord;              ///< mass storage: 0; MTP: the object id
  std::int32_t lastModified;          ///< seconds since the epoch, narrowed by `narrowTime`
  bool failedBefore = false;          ///< an earlier request stored its row with `kNeverRead`
  bool folderHasPicture = false;      ///< a picture file for covers lies beside it
};

/// Stored in place of the modification time of a file that the device did not deliver. It differs
/// from every file's, so the next request reads the file again.
inline constexpr std::int32_t kNeverRead = -1;

/// Narrows a time stamp to 32 bits, modulo 2^32. Every architecture stores the same value for a
/// time after 2038, so its file does not look new on every run.
constexpr std::int32_t narrowTime(std::int64_t seconds) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(seconds));
}

}  // namespace orvel
