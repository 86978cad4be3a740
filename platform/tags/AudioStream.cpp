#include "platform/tags/AudioStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/common/ReadError.h"

namespace orvel {

AudioFile AudioFile::open(const std::string& path) {
  // Not blocking: a pipe may have taken the place of the file since it was listed.
  Descriptor opened(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  // fstat refuses files that are dated after 2038 where time_t has 32 bits.
  struct statx status {};
  if (!opened || statx(opened.get(), "", AT_EMPTY_PATH, STATX_TYPE | STATX_SIZE, &status) != 0) {
    return {{}, 0, !isOrdinaryRefusal(errno)};
  }
  if (!S_ISREG(status.stx_mode)) return {};
  posix_fadvise(opened.get(), 0, 0, POSIX_FADV_RANDOM);
  return {std::move(opened), static_cast<std::int64_t>(status.stx_size), false};
}

AudioStream::AudioStream(AudioFile audioFile, std::string streamName, std::stop_token token,
                         std::chrono::milliseconds timeBudget)
    : TagStream(std::move(streamName), std::move(token), timeBudget), file(std::move(audioFile)) {
  setSize(file.bytes);
  if (file.deviceFailed) noteReadError();
}

long AudioStream::readAt(long start, char* target, long length) {
  long filled = 0;
  while (filled < length) {
    const ssize_t got = pread(file.descriptor.get(), target + filled,
                              static_cast<std::size_t>(length - filled), start + filled);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) noteReadError();
    if (got <= 0) break;
    filled += got;
  }
  return filled;
}

}  // namespace orvel
