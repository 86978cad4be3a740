#include "tags/InProcessTagReader.h"

#include <algorithm>
#include <utility>

#include "base/retryOnBadAlloc.h"
#include "tags/AudioStream.h"
#include "tags/readTags.h"

namespace orvel {

void InProcessTagReader::expect(std::vector<std::string> paths) {
  files.clear();
  for (std::string& path : paths) files.push_back({std::move(path), {}});
  current = opened = 0;
}

TagResult InProcessTagReader::next() {
  openAhead();
  File& file = files[current++];
  return retryOnBadAlloc(
      [&] {
        // A first attempt uses it up, and what could not be opened then may be by now.
        if (!file.audio.descriptor) file.audio = AudioFile::open(file.path);
        AudioStream stream(std::move(file.audio), file.path, stopped);
        return readTags(stream, ReadingDepth::TagAndAudio);
      },
      kOneRetry);
}

/// Without memory of its own: each call of `next` is for one file, whatever fails.
void InProcessTagReader::openAhead() {
  const std::size_t end = std::min(files.size(), current + 1 + kFilesAhead);
  for (; opened < end; ++opened) files[opened].audio = AudioFile::open(files[opened].path);
}

TagResult InProcessTagReader::read(TagStream& stream) {
  return readTags(stream, ReadingDepth::Tag);
}

}  // namespace orvel
