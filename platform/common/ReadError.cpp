#include "platform/common/ReadError.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace orvel {

namespace {

constexpr std::size_t kChunkBytes = 65536;
constexpr int kMostChunks = 512;

}  // namespace

bool isOrdinaryRefusal(int error) {
  return error == EACCES || error == EPERM || error == ENOENT || error == ENOTDIR || error == ELOOP;
}

int readThrough(const std::string& path, const std::stop_token& stopped) {
  // Not blocking: a pipe may have taken the place of the file since it was listed.
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return errno;
  std::array<char, kChunkBytes> chunk;
  int error = 0;
  for (int i = 0; i < kMostChunks && !stopped.stop_requested(); ++i) {
    const ssize_t got = read(file, chunk.data(), chunk.size());
    if (got < 0 && errno != EINTR && errno != EAGAIN) error = errno;
    if (got == 0 || error != 0) break;
  }
  close(file);
  return error;
}

}  // namespace orvel
