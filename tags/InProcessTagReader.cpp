#include "tags/InProcessTagReader.h"

#include <algorithm>
#include <cassert>
#include <exception>
#include <utility>

#include "base/retryOnBadAlloc.h"
#include "tags/AudioStream.h"
#include "tags/readFile.h"

namespace orvel {

void InProcessTagReader::expect(std::string mountPoint, std::vector<std::string> paths) {
  thread.reset();
  root = DeviceRoot(std::move(mountPoint));
  files.clear();
  current = parsed = opened = 0;
  for (std::string& path : paths) files.push_back({std::move(path), {}});
}

bool InProcessTagReader::begin() {
  assert(thread == nullptr && parsed == 0);
  try {
    thread = std::make_unique<ParsingThread>(
        files.size(), [this] { return parse(); }, stopped);
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

TagResult InProcessTagReader::next(const std::string& path) {
  const bool isNext = current < files.size() && files[current].path == path;
  assert(isNext && "next() asked for a file out of order");
  if (!isNext) return {TagResult::Outcome::ReaderLost};
  if (requestsPatience->isSpent()) return {TagResult::Outcome::GivenUp};
  ++current;
  ParsedFile file = thread != nullptr ? thread->take() : parse();
  if (file.wasLate) requestsPatience->spend(requestsPatience->timeLimit());
  if (file.error) std::rethrow_exception(file.error);
  return std::move(*file.result);
}

/// Must not throw: `next` always advances by one file, whatever fails.
ParsedFile InProcessTagReader::parse() {
  openAhead();
  File& file = files[parsed++];
  ParsedFile done;
  try {
    done.result = retryOnBadAlloc(
        [&] {
          // The first attempt consumed the file, or could not open it.
          if (!file.audio.descriptor) file.audio = AudioFile::open(root, file.path);
          AudioStream stream(std::move(file.audio), file.path, stopped);
          TagResult read = readFile(stream, filesGoal);
          done.wasLate = stream.ranOutOfTime();
          return read;
        },
        kOneRetry);
  } catch (...) {
    done.error = std::current_exception();
  }
  if (parsed == files.size()) root = DeviceRoot();
  return done;
}

/// Must not throw, either.
void InProcessTagReader::openAhead() {
  const std::size_t end = std::min(files.size(), parsed + 1 + kFilesAhead);
  for (; opened < end; ++opened) files[opened].audio = AudioFile::open(root, files[opened].path);
}

TagResult InProcessTagReader::read(TagStream& stream) {
  return readFile(stream, filesGoal);
}

}  // namespace orvel
