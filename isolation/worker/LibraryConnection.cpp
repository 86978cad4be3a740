#include "isolation/worker/LibraryConnection.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "isolation/WorkerProtocol.h"

namespace orvel::libraryConnection {

namespace {

using namespace workerProtocol;

std::vector<Descriptor> takeDescriptors(msghdr& message) {
  std::vector<Descriptor> taken;
  for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
       header = CMSG_NXTHDR(&message, header)) {
    const std::size_t bytes = header->cmsg_len - CMSG_LEN(0);
    std::vector<int> numbers(bytes / sizeof(int));
    std::memcpy(numbers.data(), CMSG_DATA(header), numbers.size() * sizeof(int));
    for (const int number : numbers) taken.emplace_back(number);
  }
  return taken;
}

}  // namespace

bool exists() {
  struct stat status {};
  return fstat(kControlSocket, &status) == 0 && S_ISSOCK(status.st_mode);
}

std::optional<Message> receive() {
  std::array<char, kMostMessageBytes> text;
  alignas(cmsghdr) std::array<char, CMSG_SPACE(kMostDescriptors * sizeof(int))> rights{};
  iovec part{text.data(), text.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = rights.data();
  message.msg_controllen = rights.size();
  ssize_t got = -1;
  do {
    got = recvmsg(kControlSocket, &message, MSG_CMSG_CLOEXEC);
  } while (got < 0 && errno == EINTR);
  if (got <= 0) return std::nullopt;
  return Message{{text.data(), static_cast<std::size_t>(got)}, takeDescriptors(message)};
}

bool send(std::string_view text) {
  // Unlike sendmsg, it can pass no descriptors along, so the filter need not allow that.
  return write(kControlSocket, text.data(), text.size()) >= 0;
}

bool writeResult(std::string_view text) {
  const std::string result = withLength(text);
  for (std::string_view rest = result; !rest.empty();) {
    const ssize_t written = write(kResultPipe, rest.data(), rest.size());
    if (written < 0 && errno != EINTR) return false;
    rest.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
  return true;
}

}  // namespace orvel::libraryConnection
