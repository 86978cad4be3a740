#include "platform/tags/isolation/ReaderConnection.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

namespace orvel {

namespace {

using std::chrono::milliseconds;

/// Waits until the socket has something to tell, at most for `patience`, which grows shorter.
bool waitFor(int socket, milliseconds& patience) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  pollfd watched{socket, POLLIN, 0};
  const int ready = poll(&watched, 1, static_cast<int>(patience.count()));
  const auto waited = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
  patience = ready == 0 ? milliseconds(0) : std::max(patience - waited, milliseconds(1));
  return ready != 0;
}

}  // namespace

ReaderConnection::Pair ReaderConnection::makePair() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

ReaderConnection::ReaderConnection(std::stop_token token, const std::string& program)
    : ReaderConnection(std::move(token), program, makePair()) {}

ReaderConnection::ReaderConnection(std::stop_token token, const std::string& program, Pair pair)
    : socket(std::move(pair.ours)),
      process(program, pair.theirs.get(), tagMessages::kReaderSocket),
      onStop(std::move(token), Shutdown{socket.get()}) {}

ReaderConnection::Sent ReaderConnection::send(const std::vector<HandedFile>& files) const {
  std::vector<tagMessages::FileRequest> requests;
  std::array<int, tagMessages::kMostFiles> descriptors{};
  for (std::size_t i = 0; i < files.size(); ++i) {
    requests.push_back(files[i].request);
    descriptors.at(i) = files[i].descriptor.get();
  }
  std::string text = tagMessages::encodeRequests(requests);
  iovec part{text.data(), text.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptors)> control{};
  const std::size_t descriptorBytes = files.size() * sizeof(int);
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = CMSG_SPACE(descriptorBytes);
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(descriptorBytes);
  std::memcpy(CMSG_DATA(header), descriptors.data(), descriptorBytes);
  if (sendmsg(socket.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0) return Sent::Yes;
  if (errno == EAGAIN) return Sent::Later;
  // A reader that has just ended is found out by the next `receive`.
  return errno == EPIPE || errno == ECONNRESET ? Sent::Yes : Sent::Never;
}

/// The next message, which stays in the buffer until the next call; nothing when there will be
/// none.
std::optional<std::string_view> ReaderConnection::receiveMessage(milliseconds& patience) {
  while (true) {
    const ssize_t got = recv(socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (got > 0) return std::string_view(buffer.data(), static_cast<std::size_t>(got));
    if (got == 0) return std::nullopt;
    // A reader that ends with requests unread resets the connection; its last results lie behind.
    if (errno == EINTR || errno == ECONNRESET) continue;
    if (errno != EAGAIN) return std::nullopt;
    if (patience.count() <= 0 || !waitFor(socket.get(), patience)) {
      patience = milliseconds(0);
      fault = "gave no answer in time";
      return std::nullopt;
    }
  }
}

std::optional<tagMessages::Confinement> ReaderConnection::receiveGreeting(milliseconds patience) {
  const auto message = receiveMessage(patience);
  if (!message) return std::nullopt;
  const auto confinement = tagMessages::decodeGreeting(*message);
  if (!confinement) fault = "comes from another build";
  return confinement;
}

std::optional<tagMessages::Result> ReaderConnection::receive(milliseconds& patience) {
  using tagMessages::Kind;
  pieces.clear();
  while (const auto message = receiveMessage(patience)) {
    const auto kind = static_cast<Kind>(message->front());
    const std::string_view part = message->substr(1);
    if (kind == Kind::Piece && pieces.size() + part.size() <= tagMessages::kMostResultBytes) {
      pieces += part;
      continue;
    }
    std::optional<tagMessages::Result> result;
    if (kind == Kind::Result) {
      result = tagMessages::decodeResult(pieces.empty() ? part : pieces.append(part));
    }
    if (result) {
      ++answers;
    } else {
      fault = "sent what is no result";
    }
    return result;
  }
  return std::nullopt;
}

std::string ReaderConnection::end() {
  const std::string ending = process.end();
  return fault.empty() ? ending : fault;
}

}  // namespace orvel
