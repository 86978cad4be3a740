#include "tags/InProcessTagReader.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "base/retryOnBadAlloc.h"
#include "tags/AudioStream.h"
#include "tags/readTags.h"

namespace orvel {

void InProcessTagReader::expect(std::string mountPoint, std::vector<std::string> paths) {
  root = DeviceRoot(std::move(mountPoint));
  files.clear();
  current = opened = 0;
  for (std::string& path : paths) files.push_back({std::move(path), {}});
}

TagResult InProcessTagReader::next(const std::string& path) {
  const bool isNext = current < files.size() && files[current].path == path;
  assert(isNext && "next() asked for a file out of order");
  if (!isNext) return {TagResult::Outcome::ReaderLost};
  if (lateFiles >= kMostLateFiles) return {TagResult::Outcome::GivenUp};
  openAhead();
  File& file = files[current++];
  TagResult read = retryOnBadAlloc(
      [&] {
        // The first attempt consumed the file, or could not open it.
        if (!file.audio.descriptor) file.audio = AudioFile::open(root, file.path);
        AudioStream stream(std::move(file.audio), file.path, stopped);
        TagResult read = readFile(stream, filesGoal);
        if (stream.ranOutOfTime()) ++lateFiles;
        return read;
      },
      kOneRetry);
  if (current == files.size()) root = DeviceRoot();
  return read;
}

/// Must not throw: `next` always advances by one file, whatever fails.
void InProcessTagReader::openAhead() {
  const std::size_t end = std::min(files.size(), current + 1 + kFilesAhead);
  for (; opened < end; ++opened) files[opened].audio = AudioFile::open(root, files[opened].path);
}

TagResult InProcessTagReader::read(TagStream& stream) {
  return readFile(stream, filesGoal);
}

}  // namespace orvel
