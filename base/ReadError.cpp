#include "base/ReadError.h"

#include <unistd.h>

#include <array>
#include <cerrno>

#include "base/Descriptor.h"

namespace orvel {

namespace {

constexpr std::size_t kChunkBytes = 65536;
constexpr int kMostChunks = 512;

}  // namespace

bool isOrdinaryRefusal(int error) {
  return error == EACCES || error == EPERM || error == ENOENT || error == ENOTDIR ||
         error == ELOOP || error == ENAMETOOLONG || error == EXDEV;
}

int readThrough(const std::string& path, const std::stop_token& stopped) {
  const Descriptor file = Descriptor::ofFile(path);
  if (!file) return errno;
  std::array<char, kChunkBytes> chunk;
  int error = 0;
  for (int i = 0; i < kMostChunks && !stopped.stop_requested(); ++i) {
    const ssize_t got = read(file.get(), chunk.data(), chunk.size());
    if (got < 0 && errno != EINTR && errno != EAGAIN) error = errno;
    if (got == 0 || error != 0) break;
  }
  return error;
}

}  // namespace orvel
