#include "platform/tags/InProcessTagReader.h"

#include <utility>

#include "platform/tags/AudioStream.h"
#include "platform/tags/readTags.h"

namespace orvel {

void InProcessTagReader::expect(std::vector<std::string> paths) {
  files = std::move(paths);
  current = 0;
}

TagResult InProcessTagReader::next() {
  const std::string& path = files.at(current++);
  AudioStream stream(AudioFile::open(path), path, stopped);
  return readTags(stream);
}

}  // namespace orvel
