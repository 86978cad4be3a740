#include "tags/isolation/IsolatedTagReader.h"

#include <algorithm>
#include <cassert>
#include <stdexcept>
#include <utility>

#include "base/Log.h"
#include "base/retryOnBadAlloc.h"
#include "tags/InProcessTagReader.h"

namespace orvel {

namespace {

/// The part of a file's time that is not held against it.
constexpr int kOrdinaryPart = 5;

tagMessages::Result withoutTag(TagResult::Outcome outcome) {
  tagMessages::Result answer;
  answer.result.outcome = outcome;
  return answer;
}

/// True for an answer after which the file is no song of the device.
bool deniesSong(const tagMessages::Result& answer) {
  return answer.error || answer.result.outcome == TagResult::Outcome::Untagged;
}

}  // namespace

IsolatedTagReader::IsolatedTagReader(std::stop_token token, std::string workerProgram,
                                     TagReading chosen,
                                     std::shared_ptr<TagReaderPatience> requestsPatience,
                                     ReadingGoal filesGoal)
    : stopped(token),
      policy(chosen),
      goal(filesGoal),
      patience(std::move(requestsPatience)),
      starter(std::move(token), std::move(workerProgram), chosen == TagReading::IsolationRequired),
      files(filesGoal) {}

IsolatedTagReader::~IsolatedTagReader() = default;

void IsolatedTagReader::expect(std::string mountPoint, std::vector<std::string> paths) {
  assertOwner();
  if (state == State::InProcess) return inProcess->expect(std::move(mountPoint), std::move(paths));
  if (files.hasUnanswered()) dropWorker();
  files.announce(std::move(mountPoint), std::move(paths));
}

TagResult IsolatedTagReader::next(const std::string& path) {
  assertOwner();
  if (state == State::InProcess) return inProcess->next(path);
  const bool isNext = files.isNext(path);
  assert(isNext && "next() asked for a file out of order");
  if (!isNext) return {Outcome::ReaderLost};
  if (isGivenUp()) return {Outcome::GivenUp};
  tagMessages::Result answer;
  try {
    answer = retryOnBadAlloc(
        [&] {
          return ask({files.currentId(), path, nullptr}, [this] { return sendCurrent(); });
        },
        kOneRetry);
  } catch (const std::exception&) {
    if (state != State::InProcess) {
      files.finishCurrent();
      throw;
    }
  }
  if (state == State::InProcess) return inProcess->next(path);
  files.finishCurrent();
  return settle(std::move(answer));
}

TagResult IsolatedTagReader::read(TagStream& stream) {
  assertOwner();
  if (state == State::InProcess) return inProcess->read(stream);
  if (isGivenUp()) return {Outcome::GivenUp};
  expect({}, {});
  const std::string path = stream.name();
  const tagMessages::FileRequest request{files.takeId(), stream.length(),
                                         tagMessages::nameEndingOf(path), true, goal};
  tagMessages::Result answer = ask({request.id, path, &stream}, [&]() -> std::optional<Outcome> {
    if (worker->send({request}, {}) == WorkerConnection::Sent::Yes) return std::nullopt;
    return Outcome::ReaderLost;
  });
  if (state == State::InProcess) return inProcess->read(stream);
  return settle(std::move(answer));
}

bool IsolatedTagReader::begin() {
  return beginOnce([this] { return ensureRunning(); });
}

bool IsolatedTagReader::beginBesides() {
  return beginOnce([this] { return state == State::Running || tryToStart(); });
}

template <class IsUp>
bool IsolatedTagReader::beginOnce(IsUp isUp) {
  assertOwner();
  try {
    return isUp() && sendAhead();
  } catch (const std::exception&) {
    dropWorker();
    return false;
  }
}

// Asking a worker

/// Asks one worker after the other until one answers or the file is given up. `send` sends the
/// file; it returns the result when no worker is needed for it, or ReaderLost when sending failed.
template <class Send>
tagMessages::Result IsolatedTagReader::ask(const Question& question, Send send) {
  WaitBudget budget(patience->timeLimit());
  try {
    while (ensureRunning()) {
      if (const std::optional<Outcome> unsent = send()) {
        if (*unsent == Outcome::ReaderLost) break;
        return withoutTag(*unsent);
      }
      const bool isFresh = !worker->hasAnswered();
      auto answer = worker->receive(question.id, budget, question.source);
      if (answer && (isFresh || !deniesSong(*answer))) {
        spendPatience(budget.used() - patience->timeLimit() / kOrdinaryPart);
        return std::move(*answer);
      }
      if (stopped.stop_requested()) break;
      if (budget.isSpent() || isFresh) return withoutTag(blameFile(question.path));
      dropWorker();
    }
  } catch (const std::exception&) {
    dropWorker();
    throw;
  }
  dropWorker();
  if (stopped.stop_requested()) return withoutTag(Outcome::Interrupted);
  return withoutTag(state == State::Refused ? Outcome::NotIsolated : Outcome::ReaderLost);
}

/// Returns a result, or throws the exception of the worker's parser.
TagResult IsolatedTagReader::settle(tagMessages::Result answer) {
  if (answer.error) throw std::runtime_error(*answer.error);
  return std::move(answer.result);
}

/// Sends the current file and some ahead. Returns the reason when the current one was not sent.
std::optional<TagResult::Outcome> IsolatedTagReader::sendCurrent() {
  if (!sendAhead()) return Outcome::ReaderLost;
  return files.currentRefusal();
}

/// Keeps the worker busy. Returns false when the next files can never be sent.
bool IsolatedTagReader::sendAhead() {
  if (!files.needsSending()) return true;
  using Sent = WorkerConnection::Sent;
  const FileQueue::Batch batch = files.openBatch();
  const Sent sent =
      batch.requests.empty() ? Sent::Yes : worker->send(batch.requests, batch.descriptors);
  if (sent == Sent::Yes) files.markSent(batch);
  return sent != Sent::Never;
}

// Transitions

/// True for the changes of state in the class comment.
bool IsolatedTagReader::isTransition(State from, State to) {
  switch (from) {
    case State::Untried:
      return to == State::Running || to == State::InProcess || to == State::Refused;
    case State::Running:
      return to == State::Down;
    case State::Down:
      return to == State::Running;
    case State::Refused:
    case State::InProcess:
      break;
  }
  return false;
}

void IsolatedTagReader::enter(State next) {
  assert(isTransition(state, next));
  assert(worker.has_value() == (next == State::Running));
  assert((inProcess != nullptr) == (next == State::InProcess));
  state = next;
}

/// Starts a worker unless one is up; returns false when there is none.
bool IsolatedTagReader::ensureRunning() {
  if (stopped.stop_requested()) return false;
  const bool needsWorker = state == State::Untried || state == State::Down;
  if (needsWorker && !tryToStart() && !stopped.stop_requested()) startFailed();
  return state == State::Running;
}

bool IsolatedTagReader::tryToStart() {
  // Sent ahead, the first files are there when the worker is up.
  const auto sendFirst = [this] {
    files.markUnsent();
    sendAhead();
  };
  const bool isUp = starter.start(worker, sendFirst, goal);
  if (isUp) {
    workerStarted();
  } else {
    dropWorker();
  }
  return isUp;
}

void IsolatedTagReader::workerStarted() {
  confined = starter.confinement();
  if (state == State::Untried && confined != Confinement::FilterAndLandlock) {
    OV_WARN("the tag reader is less isolated than it could be: %s",
            starter.missingLayers().c_str());
  }
  enter(State::Running);
}

void IsolatedTagReader::startFailed() {
  const char* const program = starter.path().c_str();
  const char* const reason = starter.failure().c_str();
  if (state == State::Down) {
    OV_ERROR("the tag reader %s cannot be started again: %s", program, reason);
    return;
  }
  if (policy == TagReading::IsolationRequired) {
    OV_ERROR("the tag reader %s cannot be started, no tags are read: %s", program, reason);
    return enter(State::Refused);
  }
  auto substitute = std::make_unique<InProcessTagReader>(stopped, goal, patience);
  substitute->expect(files.mountPoint(), files.remainingPaths());
  OV_WARN("the tag reader %s cannot be started, tags are read without isolation: %s", program,
          reason);
  inProcess = std::move(substitute);
  confined = Confinement::None;
  enter(State::InProcess);
}

/// Ends a worker that failed because of this file, and returns the file's result.
TagResult::Outcome IsolatedTagReader::blameFile(const std::string& path) {
  spendPatience(patience->timeLimit());
  const bool isStalled = worker->hasStalled();
  const std::string failure = worker->end();
  dropWorker();
  OV_WARN("tag reader %s for track: %s", isStalled ? "waits for the device" : failure.c_str(),
          path.c_str());
  return isStalled ? Outcome::Stalled : Outcome::Unreadable;
}

/// Takes the time of a file off the request's.
void IsolatedTagReader::spendPatience(WaitBudget::Clock::duration time) {
  if (isGivenUp()) return;
  patience->spend(time);
  if (isGivenUp()) OV_WARN("too many files end the tag reader or take too long: no more are read");
}

/// Ends the worker, if there is one, and forgets the files sent to it, so that no late answer is
/// matched to another file. Allocates nothing.
void IsolatedTagReader::dropWorker() {
  worker.reset();
  files.markUnsent();
  if (state == State::Running) enter(State::Down);
}

/// A worker dies with the thread that started it, so all reading happens on one thread.
void IsolatedTagReader::assertOwner() {
  if (owner == std::thread::id()) owner = std::this_thread::get_id();
  assert(owner == std::this_thread::get_id());
}

}  // namespace orvel
