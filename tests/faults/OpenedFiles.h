#pragma once

#include <set>
#include <string>
#include <unordered_map>

#include "base/Descriptor.h"

namespace orvel::test {

/// Which files of a few folders were opened, by whatever process.
class OpenedFiles {
 public:
  /// Throws std::system_error where the kernel does not tell.
  OpenedFiles();

  /// Watches the files directly in `folder`.
  void watch(const std::string& folder);
  /// The paths of the files that were opened since the last call.
  std::set<std::string> take();

 private:
  Descriptor events;
  std::unordered_map<int, std::string> folders;
};

}  // namespace orvel::test
