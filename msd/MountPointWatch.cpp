#include "msd/MountPointWatch.h"

#include <sys/stat.h>

#include <cerrno>

namespace orvel {

void MountPointWatch::remember(int operationId, const std::string& mountPoint) {
  struct stat status {};
  const bool present = stat(mountPoint.c_str(), &status) == 0;
  const MutexLock lock(mutex);
  mounted.reset();
  if (present) mounted = Mounted{operationId, status.st_dev};
}

int MountPointWatch::missing(int operationId, const std::string& mountPoint) const {
  struct stat status {};
  if (stat(mountPoint.c_str(), &status) != 0) return errno;
  const MutexLock lock(mutex);
  const bool known = mounted && mounted->operationId == operationId;
  return known && mounted->device != status.st_dev ? ENODEV : 0;
}

}  // namespace orvel
