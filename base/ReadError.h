#pragma once

#include <stop_token>
#include <string>

namespace orvel {

/// True for errors that belong to the one file or folder, as a missing permission does; others mean
/// that the device could not be read.
bool isOrdinaryRefusal(int error);

/// Reads the regular file at `path` to its end, or to 32 MiB, and forgets what it read: afterwards
/// the kernel has it at hand. Returns 0 or the error number. A raised token ends the reading.
int readThrough(const std::string& path, const std::stop_token& stopped);

}  // namespace orvel
