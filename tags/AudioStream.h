#pragma once

#include <chrono>
#include <stop_token>
#include <string>

#include "tags/AudioFile.h"
#include "tags/TagStream.h"

namespace orvel {

/// The tags of a file.
class AudioStream : public TagStream {
 public:
  /// @param audioFile   a failure to open it shows in `isOpen`, one of the device in `readFailed`,
  /// too
  /// @param streamName  its ending tells the format
  AudioStream(AudioFile audioFile, std::string streamName, std::stop_token token,
              std::chrono::milliseconds timeBudget = kTimeBudget);

  bool isOpen() const override { return static_cast<bool>(file.descriptor); }
  long readAt(long start, char* target, long length) override;

 private:
  AudioFile file;
};

}  // namespace orvel
