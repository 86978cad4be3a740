#define FUSE_USE_VERSION 312

// Shows an image at another path as if it were on a slow device, for a loop device over it: one
// request at a time, a delay for each read or write, a time for each byte, and a delay for each
// flush.
#include <fcntl.h>
#include <fuse.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;

struct Device {
  int image;
  microseconds ofTransfer;
  microseconds ofFlush;
  double bytesPerMicrosecond;  ///< 0: no limit
};

const Device& device() {
  return *static_cast<Device*>(fuse_get_context()->private_data);
}

/// Ends a transfer that began at `begin`: not before its time.
int transferred(Clock::time_point begin, ssize_t bytes) {
  if (bytes < 0) return -errno;
  const double rate = device().bytesPerMicrosecond;
  const microseconds ofBytes(rate > 0 ? static_cast<long>(static_cast<double>(bytes) / rate) : 0);
  std::this_thread::sleep_until(begin + device().ofTransfer + ofBytes);
  return static_cast<int>(bytes);
}

int getattr(const char* /*path*/, struct stat* status, fuse_file_info* /*file*/) {
  return fstat(device().image, status) == 0 ? 0 : -errno;
}

int read(const char* /*path*/, char* data, size_t bytes, off_t offset, fuse_file_info* /*file*/) {
  const auto begin = Clock::now();
  return transferred(begin, pread(device().image, data, bytes, offset));
}

int write(const char* /*path*/, const char* data, size_t bytes, off_t offset,
          fuse_file_info* /*file*/) {
  const auto begin = Clock::now();
  return transferred(begin, pwrite(device().image, data, bytes, offset));
}

int flush(const char* /*path*/, int /*dataOnly*/, fuse_file_info* /*file*/) {
  std::this_thread::sleep_for(device().ofFlush);
  return 0;
}

}  // namespace

int main(int count, char** texts) {
  if (count != 6) {
    std::fprintf(stderr,
                 "usage: %s IMAGE FILE US-PER-TRANSFER US-PER-FLUSH MB-PER-SECOND\n"
                 "Mounts over the empty FILE until it is unmounted; 0 MB per second: no limit.\n",
                 texts[0]);
    return 2;
  }
  Device slow{open(texts[1], O_RDWR | O_CLOEXEC), microseconds(std::atol(texts[3])),
              microseconds(std::atol(texts[4])), std::atof(texts[5])};
  if (slow.image < 0) {
    std::perror(texts[1]);
    return 1;
  }
  prctl(PR_SET_TIMERSLACK, 1);
  fuse_operations operations{};
  operations.getattr = getattr;
  operations.read = read;
  operations.write = write;
  operations.fsync = flush;
  char inForeground[] = "-f";
  char oneRequestAtATime[] = "-s";
  char* arguments[] = {texts[0], inForeground, oneRequestAtATime, texts[2], nullptr};
  return fuse_main(std::size(arguments) - 1, arguments, &operations, &slow);
}
