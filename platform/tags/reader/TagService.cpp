#include "platform/tags/reader/TagService.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/tags/AudioStream.h"
#include "platform/tags/isolation/TagMessages.h"
#include "platform/tags/reader/Confinement.h"

namespace orvel {

namespace {

using namespace tagMessages;

/// Shorter than the library's: what a slow device gave in time is better than nothing.
constexpr std::chrono::milliseconds kReadTime{4000};

/// Files that were handed over.
struct Request {
  std::vector<FileRequest> files;
  std::vector<Descriptor> descriptors;  ///< one for each
};

bool isStartedByLibrary() {
  struct stat status {};
  return fstat(kControlSocket, &status) == 0 && S_ISSOCK(status.st_mode);
}

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

/// Nothing when the library is gone.
std::optional<Request> receive() {
  std::array<char, kMostMessageBytes> text;
  alignas(cmsghdr) std::array<char, CMSG_SPACE(kMostFiles * sizeof(int))> control{};
  iovec part{text.data(), text.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  ssize_t got = -1;
  do {
    got = recvmsg(kControlSocket, &message, MSG_CMSG_CLOEXEC);
  } while (got < 0 && errno == EINTR);
  if (got <= 0) return std::nullopt;
  Request request;
  request.descriptors = takeDescriptors(message);
  auto files = decodeRequests({text.data(), static_cast<std::size_t>(got)});
  if (!files || files->size() != request.descriptors.size()) return std::nullopt;
  request.files = std::move(*files);
  return request;
}

/// Returns false when the library is gone.
bool tell(std::string_view text) {
  iovec part{const_cast<char*>(text.data()), text.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  return sendmsg(kControlSocket, &message, MSG_NOSIGNAL) >= 0;
}

/// The same for a result.
bool writeResult(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(kResultPipe, text.data(), text.size());
    if (written < 0 && errno != EINTR) return false;
    text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
  return true;
}

std::string resultOf(AudioStream& stream, TagResult (*read)(TagStream&)) {
  try {
    return encodeResult(read(stream));
  } catch (const std::exception& error) {
    return encodeError(error.what());
  }
}

}  // namespace

int serveTags(TagResult (*read)(TagStream& stream)) {
  if (!isStartedByLibrary()) {
    std::cerr << "orvel-tag-reader is started by Orvel itself and of no use by hand.\n";
    return NotStartedByLibrary;
  }
  // A parser without memory is not asked to go on: a fresh process has all of it.
  std::set_new_handler([] { _exit(OutOfMemory); });
  const Confinement confinement = confineProcess();
  if (!tell(encodeGreeting(confinement))) return NoConnection;
  while (auto request = receive()) {
    for (std::size_t i = 0; i < request->files.size(); ++i) {
      FileRequest& file = request->files[i];
      AudioStream stream({std::move(request->descriptors[i]), file.bytes}, std::move(file.ending),
                         {}, kReadTime);
      if (!writeResult(resultOf(stream, read))) return NoConnection;
    }
    if (!tell({&kRequestDone, 1})) return NoConnection;
  }
  return Done;
}

}  // namespace orvel
