#include "base/DeviceBoundary.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace orvel::deviceBoundary {

namespace {

std::atomic<bool> othersAllowed{false};

Descriptor refused() {
  errno = EXDEV;
  return {};
}

Descriptor openWithin(int folder, const char* path, int flags) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags);
  how.resolve = RESOLVE_NO_MAGICLINKS | (othersAllowed ? 0U : RESOLVE_NO_XDEV);
  Descriptor opened(static_cast<int>(syscall(SYS_openat2, folder, path, &how, sizeof how)));
  // Some sandboxes refuse calls that they do not know with EPERM.
  if (!opened && (errno == ENOSYS || errno == EPERM))
    opened = Descriptor(openat(folder, path, flags));
  return opened;
}

/// Uses statx, because fstat refuses files dated after 2038 where time_t has 32 bits.
bool isOn(const Descriptor& opened, dev_t device) {
  struct statx status {};
  return statx(opened.get(), "", AT_EMPTY_PATH, STATX_TYPE, &status) == 0 &&
         makedev(status.stx_dev_major, status.stx_dev_minor) == device;
}

bool isProcess(const Descriptor& opened) {
  struct statfs status {};
  return fstatfs(opened.get(), &status) != 0 || status.f_type == PROC_SUPER_MAGIC;
}

}  // namespace

void allowOtherFileSystems(bool isAllowed) noexcept {
  othersAllowed = isAllowed;
}

Descriptor open(int folder, const char* path, dev_t device, int flags) {
  Descriptor opened = openWithin(folder, path, flags | O_CLOEXEC);
  if (!opened || isOn(opened, device)) return opened;
  return othersAllowed && !isProcess(opened) ? std::move(opened) : refused();
}

Descriptor openFile(const std::string& mountPoint, const std::string& path) {
  const Descriptor root(::open(mountPoint.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  struct statx status {};
  if (!root || statx(root.get(), "", AT_EMPTY_PATH, STATX_TYPE, &status) != 0) return {};
  if (path.compare(0, mountPoint.size(), mountPoint) != 0) return refused();
  const std::size_t begin = path.find_first_not_of('/', mountPoint.size());
  if (begin == std::string::npos) return refused();
  return open(root.get(), path.c_str() + begin, makedev(status.stx_dev_major, status.stx_dev_minor),
              O_RDONLY | O_NONBLOCK | O_NOCTTY);
}

}  // namespace orvel::deviceBoundary
