#include "tags/isolation/WorkerConnection.h"

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace orvel {

namespace {

constexpr char kTooGreedy[] = "asks for more bytes than a file may cost";
constexpr char kRestless[] = "asks without taking the answers";

}  // namespace

WorkerConnection::WorkerConnection(std::stop_token token, const std::string& program,
                                   bool carefully, ReadingGoal filesGoal)
    : WorkerProcess(std::move(token), program, carefully,
                    filesGoal == ReadingGoal::Picture ? tagMessages::kMostPictureResultBytes
                                                      : tagMessages::kMostResultBytes),
      goal(filesGoal) {}

WorkerConnection::Sent WorkerConnection::send(const std::vector<tagMessages::FileRequest>& files,
                                              std::span<const int> descriptors) const {
  if (control.send(tagMessages::encodeRequests(files), descriptors)) return Sent::Yes;
  if (errno == EAGAIN) return Sent::Later;
  // The next `receive` notices a worker that has just ended.
  return errno == EPIPE || errno == ECONNRESET ? Sent::Yes : Sent::Never;
}

std::optional<tagMessages::Result> WorkerConnection::receive(std::uint32_t file, WaitBudget& budget,
                                                             TagStream* source) {
  Inquiry inquiry{source};
  while (true) {
    if (const auto text = results.take()) return decode(*text, file);
    if (results.isBroken()) rejectResult();
    if (!fault.empty()) return std::nullopt;
    if (!results.readMore() && (!results.isOpen() || !wait(budget, inquiry))) return std::nullopt;
  }
}

/// Returns nothing for a text that is not the result of this very file.
std::optional<tagMessages::Result> WorkerConnection::decode(std::string_view text,
                                                            std::uint32_t file) {
  auto result = tagMessages::decodeResult(text, goal);
  if (!result || result->id != file) {
    rejectResult();
    return std::nullopt;
  }
  answered = true;
  return result;
}

/// Waits until the pipe may hold a result; returns false when no more can be expected. Watches the
/// pipe only for its end or the rest of a long result, as pictures are, because waking up for every
/// result costs as much as parsing a small file; the worker sends word over the socket when a
/// request is done.
bool WorkerConnection::wait(WaitBudget& budget, Inquiry& inquiry) {
  if (budget.isSpent()) {
    giveUp();
    return false;
  }
  if (stopped.stop_requested()) return false;
  const bool wantsBytes = goal == ReadingGoal::Picture || results.holdsPart() || !isControlOpen;
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
  std::int64_t count = source.readAt(range.start, bytes.data(), static_cast<long>(bytes.size()));
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

}  // namespace orvel
