#pragma once

#include <unistd.h>

namespace orvel::hotplug {

/// True where udev runs. Elsewhere devices come without descriptions and without notices.
inline bool isUdevRunning() {
  return access("/run/udev/control", F_OK) == 0;
}

}  // namespace orvel::hotplug
