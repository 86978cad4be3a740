#pragma once

#include <taglib/tbytevector.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace orvel::stick {

/// A folder that the stick maker fills. The files' modification times follow the order of writing
/// and are the same every time, so a stick that is made again counts as unchanged.
class StickFolder {
 public:
  /// Makes the folder, or empties one that an earlier run has finished.
  /// @throws std::runtime_error when it holds anything else: nobody's files are ever overwritten.
  explicit StickFolder(const std::filesystem::path& folder);

  const std::filesystem::path& path() const { return root; }

  /// Writes one file below the folder, and the folders that it needs.
  /// @throws std::system_error
  void writeText(const std::filesystem::path& relative, std::string_view bytes);
  void write(const std::filesystem::path& relative, const TagLib::ByteVector& bytes);

  /// Leaves the hidden mark `.orvel-stick` by which a later run knows the folder as its own.
  void finish();

 private:
  std::filesystem::path root;
  std::filesystem::path lastParent;
  long filesWritten = 0;
};

}  // namespace orvel::stick
