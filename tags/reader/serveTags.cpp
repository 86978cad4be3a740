#include "tags/reader/serveTags.h"

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "isolation/worker/Confinement.h"
#include "isolation/worker/LibraryConnection.h"
#include "tags/AudioStream.h"
#include "tags/TagMessages.h"

namespace orvel {

namespace {

using namespace tagMessages;
using namespace workerProtocol;
using libraryConnection::Message;

/// Less than the library's limit, so that a slow device still yields the part read in time.
constexpr std::chrono::milliseconds kReadTime{4000};

/// A file that only the library can read: asks it for every part.
class AskedStream : public TagStream {
 public:
  explicit AskedStream(const FileRequest& file) : TagStream(file.ending, {}, kReadTime) {
    setSize(file.bytes);
  }

  bool isOpen() const override { return true; }

  long readAt(std::int64_t start, char* target, long length) override {
    long filled = 0;
    while (filled < length) {
      const long wanted = std::min<long>(length - filled, kMostAskedBytes);
      const long got = ask({start + filled, wanted}, target + filled);
      filled += got;
      if (got < wanted) break;
    }
    return filled;
  }

 private:
  long ask(const ByteRange& range, char* target) {
    const auto answer = libraryConnection::send(encodeQuestion(range))
                            ? libraryConnection::receive()
                            : std::nullopt;
    const auto count = answer ? decodeAnswer(answer->text) : std::nullopt;
    if (!count) _exit(NoConnection);
    if (*count < 0) noteReadError();
    if (*count <= 0 || answer->descriptors.empty()) return 0;
    const ssize_t got = pread(answer->descriptors.front().get(), target,
                              static_cast<std::size_t>(std::min(*count, range.length)), 0);
    return static_cast<long>(std::max<ssize_t>(got, 0));
  }
};

std::string resultOf(const FileRequest& file, TagStream& stream, ReadFile read) {
  try {
    return encodeResult(file.id, read(stream, file.goal), file.goal);
  } catch (const std::exception& error) {
    return encodeError(file.id, error.what());
  }
}

std::string resultOf(const FileRequest& file, Descriptor descriptor, ReadFile read) {
  if (file.isAskedFor) {
    AskedStream stream(file);
    return resultOf(file, stream, read);
  }
  AudioStream stream({std::move(descriptor), file.bytes}, file.ending, {}, kReadTime);
  return resultOf(file, stream, read);
}

/// Answers one request. Returns false when the library is gone or the request is malformed.
bool serve(Message request, ReadFile read) {
  const auto files = decodeRequests(request.text);
  if (!files) return false;
  auto next = request.descriptors.begin();
  for (const FileRequest& file : *files) {
    const bool hasDescriptor = !file.isAskedFor && next != request.descriptors.end();
    Descriptor descriptor = hasDescriptor ? std::move(*next++) : Descriptor();
    if (!libraryConnection::writeResult(resultOf(file, std::move(descriptor), read))) return false;
  }
  return libraryConnection::send({&kRequestDone, 1});
}

}  // namespace

int serveTags(ReadFile read, bool carefully) {
  if (!libraryConnection::exists()) {
    std::cerr << "orvel-tag-reader is started by Orvel itself and of no use by hand.\n";
    return NotStartedByLibrary;
  }
  // Out of memory, end at once: a fresh worker starts with all of it.
  std::set_new_handler([] { _exit(OutOfMemory); });
  if (!libraryConnection::send(encodeGreeting(confineProcess({}, carefully)))) return NoConnection;
  while (auto request = libraryConnection::receive()) {
    if (!serve(std::move(*request), read)) return NoConnection;
  }
  return Done;
}

}  // namespace orvel
