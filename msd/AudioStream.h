#pragma once

#include <stop_token>
#include <string>

#include "platform/tags/TagStream.h"

namespace orvel {

/// The tags of a file, opened read-only and read without the kernel's read-ahead.
class AudioStream : public TagStream {
 public:
  /// Opens the regular file at `path`. A failure shows in `isOpen`, one of the device in
  /// `readFailed`, too.
  AudioStream(const std::string& path, std::stop_token token);
  ~AudioStream() override;
  AudioStream(const AudioStream&) = delete;
  AudioStream& operator=(const AudioStream&) = delete;

  bool isOpen() const override { return file >= 0; }

 private:
  long readAt(long start, char* target, long length) override;

  int file = -1;
};

}  // namespace orvel
