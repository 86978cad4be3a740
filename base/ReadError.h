#pragma once

#include <stop_token>

#include "base/Descriptor.h"

namespace orvel {

/// True for errors that concern one file or folder, such as a missing permission. All others mean
/// that the device failed.
bool isOrdinaryRefusal(int error);

/// Reads the file into the kernel's page cache: up to its end, to 32 MiB or until
/// `stopped` is raised. Returns 0 or the error number.
int readThrough(const Descriptor& file, const std::stop_token& stopped);

}  // namespace orvel
