#include "isolation/ControlSocket.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <cstring>

#include "isolation/WorkerProtocol.h"

namespace orvel {

bool ControlSocket::send(std::string text, std::span<const int> descriptors) const {
  assert(descriptors.size() <= workerProtocol::kMostDescriptors);
  iovec part{text.data(), text.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(workerProtocol::kMostDescriptors * sizeof(int))>
      rights{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  if (!descriptors.empty()) {
    const std::size_t bytes = descriptors.size_bytes();
    message.msg_control = rights.data();
    message.msg_controllen = CMSG_SPACE(bytes);
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(bytes);
    std::memcpy(CMSG_DATA(header), descriptors.data(), bytes);
  }
  return sendmsg(end.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

bool ControlSocket::hasUntaken() const {
  int bytes = 0;
  return ioctl(end.get(), SIOCOUTQ, &bytes) == 0 && bytes > 0;
}

std::optional<std::string> ControlSocket::receive() const {
  std::array<char, workerProtocol::kMostMessageBytes> message;
  ssize_t got = -1;
  do {
    got = recv(end.get(), message.data(), message.size(), MSG_DONTWAIT);
    // A worker that ends with requests unread resets the connection before its last message.
  } while (got < 0 && (errno == EINTR || errno == ECONNRESET));
  if (got < 0) return std::nullopt;
  return std::string(message.data(), static_cast<std::size_t>(got));
}

}  // namespace orvel
