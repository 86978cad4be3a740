#include "base/ReadError.h"

#include <cerrno>
#include <vector>

#include "base/readAt.h"

namespace orvel {

namespace {

constexpr std::int64_t kChunkBytes = 65536;
constexpr int kMostChunks = 512;

}  // namespace

bool isOrdinaryRefusal(int error) {
  return error == EACCES || error == EPERM || error == ENOENT || error == ENOTDIR ||
         error == ELOOP || error == ENAMETOOLONG || error == EXDEV;
}

int readThrough(const Descriptor& file, const std::stop_token& stopped) {
  std::vector<char> chunk(kChunkBytes);
  int error = 0;
  for (int i = 0; i < kMostChunks && !stopped.stop_requested(); ++i) {
    const std::size_t got = readAt(file.get(), chunk.data(), chunk.size(), i * kChunkBytes, error);
    if (got < chunk.size()) break;
  }
  return error;
}

}  // namespace orvel
