#include "platform/tags/AudioFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "platform/common/ReadError.h"

namespace orvel {

AudioFile AudioFile::open(const std::string& path) {
  Descriptor opened = Descriptor::ofFile(path);
  // fstat refuses files that are dated after 2038 where time_t has 32 bits.
  struct statx status {};
  if (!opened || statx(opened.get(), "", AT_EMPTY_PATH, STATX_TYPE | STATX_SIZE, &status) != 0) {
    return {{}, 0, !isOrdinaryRefusal(errno)};
  }
  if (!S_ISREG(status.stx_mode)) return {};
  posix_fadvise(opened.get(), 0, 0, POSIX_FADV_RANDOM);
  return {std::move(opened), static_cast<std::int64_t>(status.stx_size), false};
}

}  // namespace orvel
