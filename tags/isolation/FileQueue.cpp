#include "tags/isolation/FileQueue.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "tags/PooledTagReader.h"

namespace orvel {

namespace {

/// Keep at least this many files with the worker so that it never idles.
constexpr std::size_t kFilesAhead = tagMessages::kMostFiles;
static_assert(PooledTagReader::kChunk <= kFilesAhead);

}  // namespace

void FileQueue::announce(std::string mountPoint, std::vector<std::string> paths) {
  assert(!hasUnanswered());
  root = DeviceRoot(std::move(mountPoint));
  files.clear();
  current = sent = 0;
  for (std::string& path : paths) files.push_back({std::move(path), takeId(), {}, {}});
}

bool FileQueue::isNext(const std::string& path) const {
  return current < files.size() && files[current].path == path;
}

std::vector<std::string> FileQueue::remainingPaths() const {
  std::vector<std::string> paths;
  for (std::size_t i = current; i < files.size(); ++i) paths.push_back(files[i].path);
  return paths;
}

void FileQueue::finishCurrent() {
  assert(current < files.size());
  files[current].audio.descriptor.reset();
  ++current;
  sent = std::max(sent, current);
  if (current == files.size()) root = DeviceRoot();
}

bool FileQueue::needsSending() const {
  return sent <= current + kFilesAhead && sent < files.size();
}

FileQueue::Batch FileQueue::openBatch() {
  Batch batch;
  batch.end = sent;
  for (; batch.end < files.size() && batch.requests.size() < tagMessages::kMostFiles; ++batch.end) {
    File& file = files[batch.end];
    AudioFile& audio = file.audio;
    if (!audio.descriptor) audio = AudioFile::open(root, file.path);
    file.refusal.reset();  // an earlier attempt for another worker may have failed
    if (!audio.descriptor) {
      file.refusal =
          audio.deviceFailed ? TagResult::Outcome::DeviceFailed : TagResult::Outcome::Unreadable;
      continue;
    }
    batch.descriptors.push_back(audio.descriptor.get());
    batch.requests.push_back(
        {file.id, audio.bytes, tagMessages::nameEndingOf(file.path), false, filesGoal});
  }
  return batch;
}

}  // namespace orvel
