#pragma once

#include <string>

namespace orvel::test {

/// Lets the tests of a class mount file systems that nobody else sees and that end with the
/// process. To be the first base of a fixture, so that later threads see the mounts, too.
class OwnMounts {
 public:
  /// Why nothing can be mounted here; empty when it can.
  [[nodiscard]] const std::string& obstacle() const { return reason; }

 protected:
  OwnMounts();

 private:
  const std::string& reason;
};

}  // namespace orvel::test
