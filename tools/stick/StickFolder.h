#pragma once

#include <taglib/tbytevector.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace orvel::stick {

/// A folder that the stick maker fills. Modification times follow the order of writing and are the
/// same each time, so the indexer sees a remade stick as unchanged.
class StickFolder {
 public:
  /// Makes the folder, or empties one that an earlier run finished.
  /// @throws std::runtime_error if it holds anything else: never overwrites a user's files.
  explicit StickFolder(const std::filesystem::path& folder);

  const std::filesystem::path& path() const { return root; }

  /// Writes one file below the folder and makes its parent folders.
  /// @throws std::system_error
  void writeText(const std::filesystem::path& relative, std::string_view bytes);
  void write(const std::filesystem::path& relative, const TagLib::ByteVector& bytes);

  /// Writes the hidden file `.orvel-stick`, by which a later run recognises the folder.
  void finish();

 private:
  std::filesystem::path root;
  std::filesystem::path lastParent;
  long filesWritten = 0;
};

}  // namespace orvel::stick
