#include "tags/AudioStream.h"

#include <utility>

#include "base/readAt.h"

namespace orvel {

AudioStream::AudioStream(AudioFile audioFile, std::string streamName, std::stop_token token,
                         std::chrono::milliseconds timeBudget)
    : TagStream(std::move(streamName), std::move(token), timeBudget), file(std::move(audioFile)) {
  setSize(file.bytes);
  if (file.deviceFailed) noteReadError();
}

long AudioStream::readAt(std::int64_t start, char* target, long length) {
  int error = 0;
  const std::size_t filled =
      orvel::readAt(file.descriptor.get(), target, static_cast<std::size_t>(length), start, error);
  if (error != 0) noteReadError();
  return static_cast<long>(filled);
}

}  // namespace orvel
