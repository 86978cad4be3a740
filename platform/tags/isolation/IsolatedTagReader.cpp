#include "platform/tags/isolation/IsolatedTagReader.h"

#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/common/Log.h"
#include "platform/tags/InProcessTagReader.h"

namespace orvel {

namespace {

using Outcome = TagResult::Outcome;

/// So many files are with the reader at least, that it never waits for the next.
constexpr std::size_t kFilesAhead = tagMessages::kMostFiles;
constexpr std::chrono::milliseconds kStartLimit{5000};

/// What the format is told by: the end of the name from its last dot on.
std::string endingOf(const std::string& path) {
  constexpr std::size_t kLongest = 16;
  const std::size_t dot = path.rfind('.');
  return dot == std::string::npos ? std::string() : path.substr(dot, kLongest);
}

}  // namespace

IsolatedTagReader::IsolatedTagReader(std::stop_token token, std::string readerProgram,
                                     std::chrono::milliseconds limit)
    : stopped(std::move(token)), program(std::move(readerProgram)), timeLimit(limit) {}

IsolatedTagReader::~IsolatedTagReader() = default;

void IsolatedTagReader::expect(std::vector<std::string> paths) {
  if (inProcess != nullptr) return inProcess->expect(std::move(paths));
  // What the reader still has in hand would be taken for results of the new files.
  if (handedOver > current) reader.reset();
  files.clear();
  for (std::string& path : paths) files.push_back({std::move(path)});
  current = handedOver = 0;
}

TagResult IsolatedTagReader::next() {
  tagMessages::Result answer;
  try {
    answer = answerForCurrent();
  } catch (const std::exception&) {
    // Without memory here, too: what the reader has in hand must not be taken for other files'.
    reader.reset();
    handedOver = ++current;
    throw;
  }
  if (answer.result.outcome == Outcome::ReaderLost && inProcess != nullptr) {
    return inProcess->next();
  }
  ++current;
  if (answer.error) throw std::runtime_error(*answer.error);
  return std::move(answer.result);
}

tagMessages::Result IsolatedTagReader::answerForCurrent() {
  std::chrono::milliseconds patience = timeLimit;
  while (isReady()) {
    if (files[current].refusal) return {{*files[current].refusal}, {}};
    if (auto answer = reader->receive(patience)) return std::move(*answer);
    if (stopped.stop_requested()) break;
    if (readerEnded(patience)) return {{Outcome::Unreadable}, {}};
  }
  reader.reset();
  return {{stopped.stop_requested() ? Outcome::Interrupted : Outcome::ReaderLost}, {}};
}

/// True when a reader is up that has the current file.
bool IsolatedTagReader::isReady() {
  return inProcess == nullptr && !stopped.stop_requested() && (reader || start()) && handOver();
}

bool IsolatedTagReader::start() {
  std::string reason;
  try {
    reader.emplace(stopped, program);
    // The reader finds its first files when it is up.
    handOver();
    if (const auto confinement = reader->receiveGreeting(kStartLimit)) {
      if (!hasWorked && !confinement->systemCalls) {
        OV_WARN("the tag reader may use every system call: this kernel has no filter for them");
      }
      hasWorked = true;
      return true;
    }
    reason = reader->end();
  } catch (const std::system_error& error) {
    reason = error.what();
  }
  reader.reset();
  handedOver = current;
  if (!stopped.stop_requested()) giveUp(reason);
  return false;
}

/// Parsing goes on in the host's process only when no file has made the reader end.
void IsolatedTagReader::giveUp(const std::string& reason) {
  if (hasWorked) {
    OV_ERROR("the tag reader %s cannot be started again: %s", program.c_str(), reason.c_str());
    return;
  }
  OV_WARN("the tag reader %s cannot be started, tags are read without isolation: %s",
          program.c_str(), reason.c_str());
  inProcess = std::make_unique<InProcessTagReader>(stopped);
  std::vector<std::string> rest;
  for (std::size_t i = current; i < files.size(); ++i) rest.push_back(std::move(files[i].path));
  inProcess->expect(std::move(rest));
}

/// Keeps the reader busy; returns false when it cannot be handed a file.
bool IsolatedTagReader::handOver() {
  if (handedOver > current + kFilesAhead) return true;
  std::vector<ReaderConnection::HandedFile> batch;
  std::size_t end = handedOver;
  for (; end < files.size() && batch.size() < tagMessages::kMostFiles; ++end) {
    AudioFile file = AudioFile::open(files[end].path);
    if (!file.descriptor) {
      files[end].refusal = file.deviceFailed ? Outcome::DeviceFailed : Outcome::Unreadable;
      continue;
    }
    batch.push_back({std::move(file.descriptor), {file.bytes, endingOf(files[end].path)}});
  }
  const auto sent = batch.empty() ? ReaderConnection::Sent::Yes : reader->send(batch);
  if (sent == ReaderConnection::Sent::Yes) handedOver = end;
  return sent != ReaderConnection::Sent::Never;
}

/// Takes leave of a reader that gives no result for the current file. Returns true when the file is
/// to blame: it had all the time there is, or a fresh reader for itself. A worn reader may have
/// ended for what earlier files left behind in it.
bool IsolatedTagReader::readerEnded(std::chrono::milliseconds patience) {
  const bool isToBlame = patience.count() <= 0 || reader->isFresh();
  const std::string how = reader->end();
  reader.reset();
  handedOver = isToBlame ? current + 1 : current;
  if (isToBlame) OV_WARN("tag reader %s for track: %s", how.c_str(), files[current].path.c_str());
  return isToBlame;
}

}  // namespace orvel
