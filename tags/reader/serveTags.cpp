#include "tags/reader/serveTags.h"

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

#include "tags/AudioStream.h"
#include "tags/TagMessages.h"
#include "tags/reader/Confinement.h"

namespace orvel {

namespace {

using namespace tagMessages;

/// Less than the library's limit, so that a slow device still yields the part read in time.
constexpr std::chrono::milliseconds kReadTime{4000};

/// A message from the library.
struct Message {
  std::string text;
  std::vector<Descriptor> descriptors;
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

/// Waits for a message; returns nothing when the library is gone.
std::optional<Message> receiveMessage() {
  std::array<char, kMostMessageBytes> text;
  alignas(cmsghdr) std::array<char, CMSG_SPACE(kMostFiles * sizeof(int))> rights{};
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

/// Returns false when the library is gone.
bool sendMessage(std::string_view text) {
  iovec part{const_cast<char*>(text.data()), text.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  return sendmsg(kControlSocket, &message, MSG_NOSIGNAL) >= 0;
}

/// Returns false when the library is gone.
bool writeResult(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(kResultPipe, text.data(), text.size());
    if (written < 0 && errno != EINTR) return false;
    text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
  return true;
}

/// A file that only the library can read: asks it for every part.
class AskedStream : public TagStream {
 public:
  explicit AskedStream(const FileRequest& file) : TagStream(file.ending, {}, kReadTime) {
    setSize(file.bytes);
  }

  bool isOpen() const override { return true; }

  long readAt(long start, char* target, long length) override {
    const ByteRange range{start, std::min<std::int64_t>(length, kMostAskedBytes)};
    const auto answer = sendMessage(encodeQuestion(range)) ? receiveMessage() : std::nullopt;
    const auto count = answer ? decodeAnswer(answer->text) : std::nullopt;
    if (!count) _exit(NoConnection);
    if (*count < 0) noteReadError();
    if (*count <= 0 || answer->descriptors.empty()) return 0;
    const ssize_t got = pread(answer->descriptors.front().get(), target,
                              static_cast<std::size_t>(std::min(*count, range.length)), 0);
    return static_cast<long>(std::max<ssize_t>(got, 0));
  }
};

std::string resultOf(std::uint32_t id, TagStream& stream, ReadingDepth depth, ReadTags read) {
  try {
    return encodeResult(id, read(stream, depth));
  } catch (const std::exception& error) {
    return encodeError(id, error.what());
  }
}

std::string resultOf(const FileRequest& file, Descriptor descriptor, ReadTags read) {
  if (file.isAskedFor) {
    AskedStream stream(file);
    return resultOf(file.id, stream, ReadingDepth::Tag, read);
  }
  AudioStream stream({std::move(descriptor), file.bytes}, file.ending, {}, kReadTime);
  return resultOf(file.id, stream, ReadingDepth::TagAndAudio, read);
}

/// Answers one request. Returns false when the library is gone or the request is malformed.
bool serve(Message request, ReadTags read) {
  const auto files = decodeRequests(request.text);
  if (!files) return false;
  auto next = request.descriptors.begin();
  for (const FileRequest& file : *files) {
    const bool hasDescriptor = !file.isAskedFor && next != request.descriptors.end();
    Descriptor descriptor = hasDescriptor ? std::move(*next++) : Descriptor();
    if (!writeResult(resultOf(file, std::move(descriptor), read))) return false;
  }
  return sendMessage({&kRequestDone, 1});
}

}  // namespace

int serveTags(ReadTags read) {
  if (!isStartedByLibrary()) {
    std::cerr << "orvel-tag-reader is started by Orvel itself and of no use by hand.\n";
    return NotStartedByLibrary;
  }
  // Out of memory, end at once: a fresh worker starts with all of it.
  std::set_new_handler([] { _exit(OutOfMemory); });
  if (!sendMessage(encodeGreeting(confineProcess()))) return NoConnection;
  while (auto request = receiveMessage()) {
    if (!serve(std::move(*request), read)) return NoConnection;
  }
  return Done;
}

}  // namespace orvel
