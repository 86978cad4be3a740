#include "tags/isolation/ReaderConnection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

namespace orvel {

namespace {

constexpr std::size_t kReadBytes = 16384;
constexpr char kNonsense[] = "sent what is no result";

void require(bool isDone, const char* what) {
  if (!isDone) throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

ReaderConnection::Channels::Channels() {
  std::array<int, 2> ends{};
  require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0, "socketpair");
  control = Descriptor(ends[0]);
  readersControl = Descriptor(ends[1]);
  require(pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
  results = Descriptor(ends[0]);
  readersResults = Descriptor(ends[1]);
  require(fcntl(results.get(), F_SETFL, O_NONBLOCK) == 0, "fcntl");
}

ReaderConnection::ReaderConnection(std::stop_token token, const std::string& program)
    : ReaderConnection(std::move(token), program, Channels()) {}

ReaderConnection::ReaderConnection(std::stop_token token, const std::string& program,
                                   Channels channels)
    : control(std::move(channels.control)),
      results(std::move(channels.results)),
      process(program, {channels.readersControl.get(), channels.readersResults.get()}),
      stopped(std::move(token)),
      onStop(stopped, Shutdown{control.get()}) {}

ReaderConnection::Sent ReaderConnection::send(const std::vector<tagMessages::FileRequest>& files,
                                              const std::vector<Descriptor>& descriptors) const {
  if (tell(tagMessages::encodeRequests(files), descriptors)) return Sent::Yes;
  if (errno == EAGAIN) return Sent::Later;
  // A reader that has just ended is found out by the next `receive`.
  return errno == EPIPE || errno == ECONNRESET ? Sent::Yes : Sent::Never;
}

/// Sends without waiting; returns false, with errno set, when that cannot be.
bool ReaderConnection::tell(std::string text, const std::vector<Descriptor>& descriptors) const {
  iovec part{text.data(), text.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(tagMessages::kMostFiles * sizeof(int))> rights{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  if (!descriptors.empty()) {
    const std::size_t bytes = descriptors.size() * sizeof(int);
    message.msg_control = rights.data();
    message.msg_controllen = CMSG_SPACE(bytes);
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(bytes);
    std::vector<int> numbers;
    numbers.reserve(descriptors.size());
    for (const Descriptor& descriptor : descriptors) numbers.push_back(descriptor.get());
    std::memcpy(CMSG_DATA(header), numbers.data(), bytes);
  }
  return sendmsg(control.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

std::optional<tagMessages::Confinement> ReaderConnection::receiveGreeting(Patience patience) {
  pollfd watched{control.get(), POLLIN, 0};
  while (watched.revents == 0 && !patience.isOver()) patience.wait(&watched, 1);
  std::array<char, tagMessages::kMostMessageBytes> message;
  ssize_t got = -1;
  do {
    got = recv(control.get(), message.data(), message.size(), MSG_DONTWAIT);
    // A reader that ends with requests unread resets the connection before its last words.
  } while (got < 0 && (errno == EINTR || errno == ECONNRESET));
  if (got < 0) fault = "gave no answer in time";
  if (got <= 0) return std::nullopt;
  const auto confinement =
      tagMessages::decodeGreeting({message.data(), static_cast<std::size_t>(got)});
  if (!confinement) fault = "comes from another build";
  return confinement;
}

std::optional<tagMessages::Result> ReaderConnection::receive(Patience& patience,
                                                             TagStream* source) {
  while (true) {
    if (const auto text = takeResult()) {
      auto result = tagMessages::decodeResult(*text);
      if (result) {
        ++answers;
      } else {
        fault = kNonsense;
      }
      return result;
    }
    if (!fault.empty() || (!readMore() && (!isOpen || !wait(patience, source)))) {
      return std::nullopt;
    }
  }
}

/// The text of the next result that has wholly come; it stays until the next call of `readMore`.
std::optional<std::string_view> ReaderConnection::takeResult() {
  tagMessages::ResultLength length = 0;
  const std::string_view rest = std::string_view(received).substr(taken);
  if (rest.size() < sizeof length) return std::nullopt;
  std::memcpy(&length, rest.data(), sizeof length);
  if (length > tagMessages::kMostResultBytes) fault = kNonsense;
  if (rest.size() - sizeof length < length) return std::nullopt;
  taken += sizeof length + length;
  return rest.substr(sizeof length, length);
}

/// Takes from the pipe what is there; returns false when there is nothing.
bool ReaderConnection::readMore() {
  received.erase(0, std::exchange(taken, 0));
  std::array<char, kReadBytes> bytes;
  ssize_t got = -1;
  do {
    got = read(results.get(), bytes.data(), bytes.size());
  } while (got < 0 && errno == EINTR);
  isOpen = got > 0 || (got < 0 && errno == EAGAIN);
  if (got > 0) received.append(bytes.data(), static_cast<std::size_t>(got));
  return got > 0;
}

/// Waits until it is worth looking into the pipe; returns false when nothing more is to be
/// expected. The pipe itself is watched only for its end, or for the rest of a long result: waking
/// up for each result costs as much as parsing a small file.
bool ReaderConnection::wait(Patience& patience, TagStream* source) {
  if (patience.isOver()) {
    fault = "gave no answer in time";
    isStalled = process.waitsIn(SYS_pread64);
  }
  if (patience.isOver() || stopped.stop_requested()) return false;
  const bool wantsAll = !received.empty() || !isAnnouncing;
  std::array<pollfd, 2> watched = {
      pollfd{isAnnouncing ? control.get() : -1, POLLIN, 0},
      pollfd{results.get(), static_cast<short>(wantsAll ? POLLIN : 0), 0}};
  patience.wait(watched.data(), watched.size());
  if (watched[0].revents != 0) hear(patience, source);
  return true;
}

/// Takes a message: a question, or word that a request is done with.
void ReaderConnection::hear(Patience& patience, TagStream* source) {
  std::array<char, tagMessages::kMostMessageBytes> message;
  const ssize_t got = recv(control.get(), message.data(), message.size(), MSG_DONTWAIT);
  isAnnouncing = got > 0;
  if (got <= 0 || source == nullptr) return;
  const auto range = tagMessages::decodeQuestion({message.data(), static_cast<std::size_t>(got)});
  if (!range) return;
  const Patience::Clock::time_point begin = Patience::Clock::now();
  answer(*range, *source);
  patience.spend(Patience::Clock::now() - begin);
}

/// Hands the bytes over in a file in memory: they may be many.
void ReaderConnection::answer(const tagMessages::ByteRange& range, TagStream& source) {
  const std::int64_t there = std::max<std::int64_t>(source.length() - range.start, 0);
  std::string bytes(static_cast<std::size_t>(std::min(range.length, there)), '\0');
  std::int64_t count =
      source.readAt(static_cast<long>(range.start), bytes.data(), static_cast<long>(bytes.size()));
  std::vector<Descriptor> memory;
  if (count > 0) {
    memory.emplace_back(memfd_create("orvel-track", MFD_CLOEXEC));
    if (pwrite(memory[0].get(), bytes.data(), static_cast<std::size_t>(count), 0) != count) {
      count = -1;
    }
  }
  if (source.readFailed()) count = -1;
  // A reader that cannot be told has ended.
  isAnnouncing = tell(tagMessages::encodeAnswer(count), memory);
}

std::string ReaderConnection::end() {
  const std::string ending = process.end();
  return fault.empty() ? ending : fault;
}

}  // namespace orvel
