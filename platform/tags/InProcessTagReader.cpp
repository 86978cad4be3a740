#include "platform/tags/InProcessTagReader.h"

#include <utility>

#include "platform/common/retryOnce.h"
#include "platform/tags/AudioStream.h"
#include "platform/tags/readTags.h"

namespace orvel {

void InProcessTagReader::expect(std::vector<std::string> paths) {
  files = std::move(paths);
  current = 0;
}

TagResult InProcessTagReader::next() {
  const std::string& path = files.at(current++);
  return retryOnce([&] {
    AudioStream stream(AudioFile::open(path), path, stopped);
    return readTags(stream, ReadingDepth::TagAndAudio);
  });
}

TagResult InProcessTagReader::read(TagStream& stream) {
  return readTags(stream, ReadingDepth::Tag);
}

}  // namespace orvel
