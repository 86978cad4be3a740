#include "tags/AudioFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "base/ReadError.h"

namespace orvel {

namespace {

/// Most tags lie within these bytes. Prefetching them keeps a slow stick from being read block by
/// block; a larger size costs more than it saves.
constexpr off_t kBeginBytes = 16384;
constexpr off_t kEndBytes = 4096;

/// Asks the kernel to prefetch both ends of the file and to switch its own read-ahead off.
void announce(int descriptor, std::int64_t bytes) {
  posix_fadvise(descriptor, 0, 0, POSIX_FADV_RANDOM);
  posix_fadvise(descriptor, 0, kBeginBytes, POSIX_FADV_WILLNEED);
  if (bytes <= kBeginBytes) return;
  posix_fadvise(descriptor, static_cast<off_t>(bytes) - kEndBytes, kEndBytes, POSIX_FADV_WILLNEED);
}

}  // namespace

AudioFile AudioFile::open(const DeviceRoot& device, const std::string& path) {
  struct statx status {};
  Descriptor opened = device.open(path, status);
  if (!opened) return {{}, 0, !isOrdinaryRefusal(errno)};
  if (!S_ISREG(status.stx_mode)) return {};
  announce(opened.get(), static_cast<std::int64_t>(status.stx_size));
  return {std::move(opened), static_cast<std::int64_t>(status.stx_size), false};
}

}  // namespace orvel
