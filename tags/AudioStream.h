#pragma once

#include <chrono>
#include <stop_token>
#include <string>

#include "tags/AudioFile.h"
#include "tags/TagStream.h"

namespace orvel {

/// Reads the tags of an open file.
class AudioStream : public TagStream {
 public:
  /// @param audioFile   when it could not be opened, `isOpen` is false; when the device failed,
  ///                    `readFailed` is true as well
  /// @param streamName  its ending selects the format
  AudioStream(AudioFile audioFile, std::string streamName, std::stop_token token,
              std::chrono::milliseconds timeBudget = kTimeBudget);

  bool isOpen() const override { return static_cast<bool>(file.descriptor); }
  long readAt(std::int64_t start, char* target, long length) override;

 private:
  AudioFile file;
};

}  // namespace orvel
