#include "tags/isolation/WorkerConnection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace orvel {

namespace {

constexpr char kNonsense[] = "sent what is no result";
constexpr char kTooLate[] = "gave no answer in time";
constexpr char kTooGreedy[] = "asks for more bytes than a file may cost";
constexpr char kRestless[] = "asks without taking the answers";

void require(bool isDone, const char* call) {
  if (!isDone) throw std::system_error(errno, std::generic_category(), call);
}

}  // namespace

WorkerConnection::Channels::Channels() {
  std::array<int, 2> ends{};
  require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0, "socketpair");
  control = Descriptor(ends[0]);
  workersControl = Descriptor(ends[1]);
  require(pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
  results = Descriptor(ends[0]);
  workersResults = Descriptor(ends[1]);
  require(fcntl(results.get(), F_SETFL, O_NONBLOCK) == 0, "fcntl");
}

WorkerConnection::WorkerConnection(std::stop_token token, const std::string& program,
                                   bool carefully)
    : WorkerConnection(std::move(token), program, carefully, Channels()) {}

/// The worker's ends close here when `channels` goes out of scope.
WorkerConnection::WorkerConnection(std::stop_token token, const std::string& program,
                                   bool carefully, Channels channels)
    : control(std::move(channels.control)),
      results(std::move(channels.results), tagMessages::kMostResultBytes),
      process(program, {channels.workersControl.get(), channels.workersResults.get()},
              carefully ? std::vector<std::string>{workerProtocol::kCarefully}
                        : std::vector<std::string>{}),
      stopped(std::move(token)),
      onStop(stopped, Shutdown{control.get()}) {}

WorkerConnection::Sent WorkerConnection::send(const std::vector<tagMessages::FileRequest>& files,
                                              std::span<const int> descriptors) const {
  if (control.send(tagMessages::encodeRequests(files), descriptors)) return Sent::Yes;
  if (errno == EAGAIN) return Sent::Later;
  // The next `receive` notices a worker that has just ended.
  return errno == EPIPE || errno == ECONNRESET ? Sent::Yes : Sent::Never;
}

std::optional<workerProtocol::Confinement> WorkerConnection::receiveGreeting(WaitBudget budget) {
  pollfd watched{control.get(), POLLIN, 0};
  while (watched.revents == 0 && !budget.isSpent()) budget.wait(&watched, 1);
  const auto message = control.receive();
  if (!message) fault = kTooLate;
  if (!message || message->empty()) return std::nullopt;
  const auto confinement = workerProtocol::decodeGreeting(*message);
  if (!confinement) fault = "comes from another build";
  return confinement;
}

std::optional<tagMessages::Result> WorkerConnection::receive(std::uint32_t file, WaitBudget& budget,
                                                             TagStream* source) {
  Inquiry inquiry{source};
  while (true) {
    if (const auto text = results.take()) return decode(*text, file);
    if (results.isBroken()) fault = kNonsense;
    if (!fault.empty()) return std::nullopt;
    if (!results.readMore() && (!results.isOpen() || !wait(budget, inquiry))) return std::nullopt;
  }
}

/// Returns nothing for a text that is not the result of this very file.
std::optional<tagMessages::Result> WorkerConnection::decode(std::string_view text,
                                                            std::uint32_t file) {
  auto result = tagMessages::decodeResult(text);
  if (!result || result->id != file) {
    fault = kNonsense;
    return std::nullopt;
  }
  answered = true;
  return result;
}

/// Waits until the pipe may hold a result; returns false when no more can be expected. Watches the
/// pipe only for its end or the rest of a long result, because waking up for every result costs as
/// much as parsing a small file; the worker sends word over the socket when a request is done.
bool WorkerConnection::wait(WaitBudget& budget, Inquiry& inquiry) {
  if (budget.isSpent()) {
    fault = kTooLate;
    isStalled = process.waitsIn(SYS_pread64);
    return false;
  }
  if (stopped.stop_requested()) return false;
  const bool wantsBytes = results.holdsPart() || !isControlOpen;
  std::array<pollfd, 2> watched = {
      pollfd{isControlOpen ? control.get() : -1, POLLIN, 0},
      pollfd{results.get(), static_cast<short>(wantsBytes ? POLLIN : 0), 0}};
  budget.wait(watched.data(), watched.size());
  if (watched[0].revents != 0) hear(budget, inquiry);
  return true;
}

/// Takes a message from the socket: word of a request done, or a question about bytes.
void WorkerConnection::hear(WaitBudget& budget, Inquiry& inquiry) {
  const auto message = control.receive();
  isControlOpen = message && !message->empty();
  if (!isControlOpen || inquiry.source == nullptr) return;
  const auto range = tagMessages::decodeQuestion(*message);
  if (!range) return;
  inquiry.bytesLeft -= range->length;
  if (--inquiry.questionsLeft < 0 || inquiry.bytesLeft < 0) {
    fault = kTooGreedy;
  } else if (control.hasUntaken()) {
    fault = kRestless;
  } else {
    answer(*range, *inquiry.source);
    budget.charge();
  }
}

/// Passes the bytes in a file in memory, since a message holds only a few. One file serves all
/// answers, so that a worker that keeps every descriptor holds no more memory than one answer.
void WorkerConnection::answer(const tagMessages::ByteRange& range, TagStream& source) {
  const std::int64_t available = std::max<std::int64_t>(source.length() - range.start, 0);
  std::string bytes(static_cast<std::size_t>(std::min(range.length, available)), '\0');
  std::int64_t count =
      source.readAt(static_cast<long>(range.start), bytes.data(), static_cast<long>(bytes.size()));
  if (!answers) answers = Descriptor(memfd_create("orvel-track", MFD_CLOEXEC));
  const bool isStored =
      ftruncate(answers.get(), 0) == 0 &&
      pwrite(answers.get(), bytes.data(),
             static_cast<std::size_t>(std::max<std::int64_t>(count, 0)), 0) == count;
  if (!isStored || source.readFailed()) count = -1;
  // Failing to send means that the worker has ended.
  const int number = answers.get();
  isControlOpen =
      control.send(tagMessages::encodeAnswer(count), std::span(&number, count > 0 ? 1U : 0U));
}

std::string WorkerConnection::end() {
  const std::string ending = process.end();
  return fault.empty() ? ending : fault;
}

}  // namespace orvel
