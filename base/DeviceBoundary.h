#pragma once

#include <sys/types.h>

#include <string>

#include "base/Descriptor.h"

/// Opens what lies on a device, and nothing else: a link on a stick may lead to the host's memory
/// below /proc, and another file system may be mounted on one of its folders.
namespace orvel::deviceBoundary {

/// Lets devices lead to other file systems from now on, but never to /proc nor through its links,
/// which lead to the files of processes. Any thread.
void allowOtherFileSystems(bool isAllowed) noexcept;

/// Opens `path`, relative to the descriptor `folder`, with `flags` of open(2), for a device with
/// the file systems' number `device`. Owns nothing on failure; errno is EXDEV when the path leads
/// off the device. Absolute links do, except where the mount that they start from is the device's.
/// On kernels before 5.6 the file system alone decides.
Descriptor open(int folder, const char* path, dev_t device, int flags);

/// Opens a file or folder of the device at `mountPoint` for reading. `path` begins with the mount
/// point. Fails as above. Does not block: a pipe may have replaced the file since it was listed.
Descriptor openFile(const std::string& mountPoint, const std::string& path);

}  // namespace orvel::deviceBoundary
