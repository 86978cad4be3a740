#include "msd/MountPointWatch.h"

#include <sys/stat.h>

#include <cerrno>

namespace orvel {

int MountPointWatch::remember(int operationId, const std::string& mountPoint) {
  struct stat status {};
  const int error = stat(mountPoint.c_str(), &status) == 0 ? 0 : errno;
  const MutexLock lock(mutex);
  mounted.reset();
  if (error == 0) mounted = Mounted{operationId, status.st_dev};
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
  struct stat status {};
  if (stat(mountPoint.c_str(), &status) != 0) return errno;
  const MutexLock lock(mutex);
  const bool known = mounted && mounted->operationId == operationId;
  return known && mounted->device != status.st_dev ? ENODEV : 0;
}

}  // namespace orvel
