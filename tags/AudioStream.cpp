#include "tags/AudioStream.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace orvel {

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
