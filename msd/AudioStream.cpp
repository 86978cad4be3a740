#include "msd/AudioStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "msd/ReadError.h"

namespace orvel {

AudioStream::AudioStream(const std::string& path, std::stop_token token)
    : TagStream(path, std::move(token)) {
  // Not blocking: a pipe may have taken the place of the file since it was listed.
  const int opened = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (opened < 0) {
    if (!isOrdinaryRefusal(errno)) noteReadError();
    return;
  }
  struct stat status {};
  const bool known = fstat(opened, &status) == 0;
  if (!known || !S_ISREG(status.st_mode)) {
    if (!known) noteReadError();
    close(opened);
    return;
  }
  file = opened;
  setSize(status.st_size);
  posix_fadvise(file, 0, 0, POSIX_FADV_RANDOM);
}

AudioStream::~AudioStream() {
  if (file >= 0) close(file);
}

long AudioStream::readAt(long start, char* target, long length) {
  long filled = 0;
  while (filled < length) {
    const ssize_t got =
        pread(file, target + filled, static_cast<std::size_t>(length - filled), start + filled);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) noteReadError();
    if (got <= 0) break;
    filled += got;
  }
  return filled;
}

}  // namespace orvel
