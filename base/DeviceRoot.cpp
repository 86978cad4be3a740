#include "base/DeviceRoot.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/statfs.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace orvel {

namespace {

std::atomic<bool> othersAllowed{false};

Descriptor refuse(int error) {
  errno = error;
  return {};
}

Descriptor resolve(int folder, const char* path, int flags, unsigned limits) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags);
  how.resolve = limits;
  const long opened = syscall(SYS_openat2, folder, path, &how, sizeof how);
  // Some sandboxes refuse calls that they do not know with EPERM.
  const bool isUnknown = opened < 0 && (errno == ENOSYS || errno == EPERM);
  return Descriptor(isUnknown ? openat(folder, path, flags) : static_cast<int>(opened));
}

/// Opens for reading the file that a descriptor opened with O_PATH stands for.
Descriptor reopen(const Descriptor& pinned, int flags) {
  return Descriptor(::open(("/proc/self/fd/" + std::to_string(pinned.get())).c_str(), flags));
}

/// The status of `folder`/`name`, itself where it is a link; of `folder` for an empty name. Uses
/// statx because its times have 64 bits even where time_t has 32.
bool read(int folder, const char* name, struct statx& status) {
  constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_EMPTY_PATH;
  constexpr unsigned kWanted = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_INO;
  return statx(folder, name, kFlags, kWanted, &status) == 0;
}

dev_t deviceOf(const struct statx& status) {
  return makedev(status.stx_dev_major, status.stx_dev_minor);
}

bool isOfProcesses(const Descriptor& opened) {
  struct statfs status {};
  return fstatfs(opened.get(), &status) != 0 || status.f_type == PROC_SUPER_MAGIC;
}

}  // namespace

void DeviceRoot::allowOtherFileSystems(bool isAllowed) noexcept {
  othersAllowed = isAllowed;
}

DeviceRoot::DeviceRoot(std::string path)
    : mountPoint(std::move(path)),
      root(::open(mountPoint.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
  struct statx status {};
  if (!root || !read(root.get(), "", status)) error = errno;
  device = deviceOf(status);
}

Descriptor DeviceRoot::open(const std::string& path, struct statx& status) const {
  if (error != 0) return refuse(error);
  if (path.compare(0, mountPoint.size(), mountPoint) != 0) return refuse(EXDEV);
  const std::size_t begin = path.find_first_not_of('/', mountPoint.size());
  const char* const relative = begin == std::string::npos ? "." : path.c_str() + begin;
  return openWithin(root.get(), relative, O_RDONLY | O_NONBLOCK | O_NOCTTY, status);
}

int DeviceRoot::look(int folder, const char* name, struct statx& status, bool& isLink) const {
  if (!read(folder, name, status)) return errno;
  isLink = S_ISLNK(status.stx_mode);
  if (!isLink && deviceOf(status) == device) return 0;
  return openWithin(folder, name, O_PATH, status) ? 0 : errno;
}

/// An absolute link that returns to the device crosses other mounts on its way: the second attempt
/// looks where the path leads before it opens anything.
Descriptor DeviceRoot::openWithin(int folder, const char* path, int flags,
                                  struct statx& status) const {
  flags |= O_CLOEXEC;
  Descriptor opened = resolve(folder, path, flags, RESOLVE_NO_MAGICLINKS | RESOLVE_NO_XDEV);
  const bool isPinned = !opened && errno == EXDEV;
  if (isPinned) opened = resolve(folder, path, O_PATH | O_CLOEXEC, RESOLVE_NO_MAGICLINKS);
  if (!opened || !read(opened.get(), "", status)) return refuse(errno);
  if (!isAllowed(opened, status)) return refuse(EXDEV);
  return isPinned && (flags & O_PATH) == 0 ? reopen(opened, flags) : std::move(opened);
}

bool DeviceRoot::isAllowed(const Descriptor& opened, const struct statx& status) const {
  return deviceOf(status) == device || (othersAllowed && !isOfProcesses(opened));
}

}  // namespace orvel
