#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>

#include "base/Descriptor.h"

namespace orvel {

/// The folder at which a device is mounted. Opens files and folders of the device, and no others: a
/// link on a stick may lead to the host's memory below /proc, and another file system may be
/// mounted on one of its folders. On kernels before 5.6 the file system alone decides, not the kind
/// of link. Keeps the device busy while it lives. Used by one thread.
class DeviceRoot {
 public:
  /// Lets devices lead to other file systems from now on, but never to /proc nor through its links,
  /// which lead to the files of processes. Any thread.
  static void allowOtherFileSystems(bool isAllowed) noexcept;

  /// Opens nothing.
  DeviceRoot() = default;
  explicit DeviceRoot(std::string mountPoint);

  [[nodiscard]] const std::string& path() const { return mountPoint; }

  /// Opens a file or folder for reading. Does not block: a pipe may have replaced the file since it
  /// was listed. Owns nothing on failure; errno is EXDEV when the path leads off the device.
  /// @param path    begins with the mount point
  /// @param status  receives type, size and identity of the opened file or folder
  Descriptor open(const std::string& path, struct statx& status) const;

  /// Looks up `name` in `folder`, a folder of the device, and follows a link. Returns 0 or an
  /// errno: EXDEV when the entry leads off the device.
  int look(int folder, const char* name, struct statx& status, bool& isLink) const;

 private:
  [[nodiscard]] bool isAllowed(const Descriptor& opened, const struct statx& status) const;
  Descriptor openWithin(int folder, const char* path, int flags, struct statx& status) const;

  std::string mountPoint;
  Descriptor root;
  int error = 0;  ///< why `root` is empty
  dev_t device = 0;
};

}  // namespace orvel
