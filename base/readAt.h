#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace orvel {

/// Reads up to `length` bytes at `start` into `target`. Returns the number of bytes read, which is
/// smaller at the end of the file or after an error; `error` receives its number or 0.
inline std::size_t readAt(int descriptor, char* target, std::size_t length, std::int64_t start,
                          int& error) {
  std::size_t filled = 0;
  error = 0;
  while (filled < length) {
    const ssize_t got = pread(descriptor, target + filled, length - filled,
                              static_cast<off_t>(start + static_cast<std::int64_t>(filled)));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) error = errno;
    if (got <= 0) break;
    filled += static_cast<std::size_t>(got);
  }
  return filled;
}

}  // namespace orvel
