#include "tags/isolation/IsolatedTagReader.h"

#include <stdexcept>
#include <system_error>
#include <utility>

#include "base/Log.h"
#include "base/retryOnBadAlloc.h"
#include "tags/AudioStream.h"
#include "tags/InProcessTagReader.h"

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
  for (std::string& path : paths) files.push_back({std::move(path), {}});
  current = handedOver = 0;
}

TagResult IsolatedTagReader::next() {
  tagMessages::Result answer;
  try {
    answer = retryOnBadAlloc([this] { return answerOrForget(); }, kOneRetry);
  } catch (const std::exception&) {
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

/// Without memory here: what the reader has in hand must not be taken for other files'.
tagMessages::Result IsolatedTagReader::answerOrForget() {
  try {
    return answerForCurrent();
  } catch (const std::exception&) {
    reader.reset();
    handedOver = current;
    throw;
  }
}

tagMessages::Result IsolatedTagReader::answerForCurrent() {
  Patience patience(timeLimit);
  while (isReady() && handOver()) {
    if (files[current].refusal) return {{*files[current].refusal}, {}};
    if (auto answer = reader->receive(patience)) return std::move(*answer);
    if (stopped.stop_requested()) break;
    if (const auto end = readerEnded(patience, files[current].path)) return {{*end}, {}};
  }
  return notRead();
}

TagResult IsolatedTagReader::read(TagStream& stream) {
  expect({});
  tagMessages::Result answer;
  try {
    answer = answerFor(stream);
  } catch (const std::exception&) {
    reader.reset();
    throw;
  }
  if (answer.result.outcome == Outcome::ReaderLost && inProcess != nullptr) {
    return inProcess->read(stream);
  }
  if (answer.error) throw std::runtime_error(*answer.error);
  return std::move(answer.result);
}

tagMessages::Result IsolatedTagReader::answerFor(TagStream& stream) {
  Patience patience(timeLimit);
  const tagMessages::FileRequest request{stream.length(), endingOf(stream.name()), true};
  while (isReady() && reader->send({request}, {}) == ReaderConnection::Sent::Yes) {
    if (auto answer = reader->receive(patience, &stream)) return std::move(*answer);
    if (stopped.stop_requested()) break;
    if (const auto end = readerEnded(patience, stream.name())) return {{*end}, {}};
  }
  return notRead();
}

tagMessages::Result IsolatedTagReader::notRead() {
  reader.reset();
  return {{stopped.stop_requested() ? Outcome::Interrupted : Outcome::ReaderLost}, {}};
}

/// True when a reader is up.
bool IsolatedTagReader::isReady() {
  return inProcess == nullptr && !stopped.stop_requested() && (reader || start());
}

bool IsolatedTagReader::start() {
  std::string reason;
  try {
    reader.emplace(stopped, program);
    // The reader finds its first files when it is up.
    handOver();
    if (const auto confinement = reader->receiveGreeting(Patience(kStartLimit))) {
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
  std::vector<tagMessages::FileRequest> requests;
  std::vector<Descriptor> descriptors;
  std::size_t end = handedOver;
  for (; end < files.size() && requests.size() < tagMessages::kMostFiles; ++end) {
    AudioFile file = AudioFile::open(files[end].path);
    if (!file.descriptor) {
      files[end].refusal = file.deviceFailed ? Outcome::DeviceFailed : Outcome::Unreadable;
      continue;
    }
    descriptors.push_back(std::move(file.descriptor));
    requests.push_back({file.bytes, endingOf(files[end].path)});
  }
  using Sent = ReaderConnection::Sent;
  const Sent sent = requests.empty() ? Sent::Yes : reader->send(requests, descriptors);
  if (sent == Sent::Yes) handedOver = end;
  return sent != Sent::Never;
}

/// Takes leave of a reader that gives no result for the current file, and tells what to make of it.
/// Nothing: a fresh reader may do better, since a worn one may have ended for what earlier files
/// left behind in it, or by others' hands.
std::optional<Outcome> IsolatedTagReader::readerEnded(const Patience& patience,
                                                      const std::string& path) {
  const bool isStalled = reader->hasStalled();
  const bool isFinal = patience.isOver() || reader->isFresh();
  const std::string how = reader->end();
  reader.reset();
  handedOver = isFinal ? current + 1 : current;
  if (!isFinal) return std::nullopt;
  OV_WARN("tag reader %s for track: %s", isStalled ? "waits for the device" : how.c_str(),
          path.c_str());
  return isStalled ? Outcome::Stalled : Outcome::Unreadable;
}

}  // namespace orvel
