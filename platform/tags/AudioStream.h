#pragma once

#include <chrono>
#include <stop_token>
#include <string>

#include "platform/common/Descriptor.h"
#include "platform/tags/TagStream.h"

namespace orvel {

/// An audio file that is open for reading.
struct AudioFile {
  /// Opens the regular file at `path` read-only and without the kernel's read-ahead; a failure
  /// leaves the descriptor empty.
  static AudioFile open(const std::string& path);

  Descriptor descriptor;
  std::int64_t bytes = 0;
  bool deviceFailed = false;  ///< why it is not open
};

/// The tags of a file.
class AudioStream : public TagStream {
 public:
  /// @param audioFile   a failure to open it shows in `isOpen`, one of the device in `readFailed`,
  /// too
  /// @param streamName  its ending tells the format
  AudioStream(AudioFile audioFile, std::string streamName, std::stop_token token,
              std::chrono::milliseconds timeBudget = kTimeBudget);

  bool isOpen() const override { return static_cast<bool>(file.descriptor); }

 private:
  long readAt(long start, char* target, long length) override;

  AudioFile file;
};

}  // namespace orvel
