#pragma once

#include <string_view>

/// The kernel's figures about the test's own process.
namespace orvel::test {

/// A line of /proc/self/status that counts KiB, as "VmRSS:"; 0 when there is none.
long statusKibibytes(std::string_view field);

/// The most memory that the process gains, from the construction on.
class PeakMemory {
 public:
  PeakMemory();
  /// 0 where it cannot be measured, as under the sanitizers, which keep freed memory.
  [[nodiscard]] long mebibytes() const;

 private:
  const bool measures;
  const long before;
};

/// The bytes allocated and not freed in all arenas of malloc, which mallinfo2 does not count.
long allocatedKibibytes();

/// How many entries a folder has, as /proc/self/fd.
long entriesOf(const char* folder);

/// True while the process has a child, if only one that has ended and was not waited for.
bool hasChildren();

}  // namespace orvel::test
