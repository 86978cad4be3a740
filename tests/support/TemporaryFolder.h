#pragma once

#include <string>

namespace orvel::test {

/// A fresh folder that is removed with everything in it. Paths given to its functions are relative
/// to it; missing parents are created. Failures throw std::exception.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::string& path() const { return root; }
  /// The absolute path of `relative`.
  [[nodiscard]] std::string path(const std::string& relative) const {
    return root + "/" + relative;
  }

  /// Writes a file and returns its absolute path.
  std::string file(const std::string& relative, const std::string& content = "") const;
  /// Creates a folder and returns its absolute path.
  std::string folder(const std::string& relative) const;
  /// Sets the modification time of a file in seconds since the epoch.
  void touch(const std::string& relative, long long seconds) const;

 private:
  std::string root;
};

}  // namespace orvel::test
