#include "msd/MountPointWatch.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>

namespace orvel {

namespace {

/// Finds the device that a mount point lies on. Returns 0 or an errno. Uses statx without times:
/// where time_t has 32 bits, stat refuses a folder dated after 2038.
int deviceOf(const std::string& mountPoint, dev_t& device) {
  struct statx status {};
  if (statx(AT_FDCWD, mountPoint.c_str(), 0, STATX_TYPE, &status) != 0) return errno;
  device = makedev(status.stx_dev_major, status.stx_dev_minor);
  return 0;
}

}  // namespace

int MountPointWatch::remember(int operationId, const std::string& mountPoint) {
  dev_t device = 0;
  const int error = deviceOf(mountPoint, device);
  const MutexLock lock(mutex);
  mounted.reset();
  if (error == 0) mounted = Mounted{operationId, device};
  return error;
}

int MountPointWatch::vanished(int operationId, const std::string& mountPoint) const {
  {
    const MutexLock lock(mutex);
    if (!mounted || mounted->operationId != operationId) return 0;
  }
  return missing(operationId, mountPoint);
}

int MountPointWatch::missing(int operationId, const std::string& mountPoint) const {
  dev_t device = 0;
  if (const int error = deviceOf(mountPoint, device); error != 0) return error;
  const MutexLock lock(mutex);
  const bool known = mounted && mounted->operationId == operationId;
  return known && mounted->device != device ? ENODEV : 0;
}

}  // namespace orvel
