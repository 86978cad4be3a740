#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "db/SqlStream.h"

namespace orvel {

/// One row of a stored file.
struct DbObject {
  std::int32_t id = 0;
  std::int32_t lastModified = 0;  ///< seconds, narrowed as in FileInfo
  std::string path;
  /// Whether a picture for covers lay beside a song without one of its own; nothing for other
  /// files.
  std::optional<bool> hadFolderPicture;
};

/// The rows of a device's files, as one connection saw them.
class StoredFiles {
 public:
  /// @param arePicturesRead  reads `DbObject::hadFolderPicture`, too
  explicit StoredFiles(bool arePicturesRead = false) : withPictures(arePicturesRead) {}

  /// Reads the rows. Logs SQL failures.
  /// @param selectSql  reads id, modification time and path of each row
  void read(sqlstl::basic_sqlistream<char>& in, const std::string& selectSql);
  /// The same, unless `read` was called on this connection and nobody has written since.
  void refresh(sqlstl::basic_sqlistream<char>& in, const std::string& selectSql);

  [[nodiscard]] const std::vector<DbObject>& rows() const { return stored; }
  /// True when the last reading saw every row.
  [[nodiscard]] bool isComplete() const { return allRead; }

 private:
  bool readRows(sqlstl::basic_sqlistream<char>& in, const std::string& selectSql);
  bool readPictures(sqlstl::basic_sqlistream<char>& in);

  bool withPictures;
  std::vector<DbObject> stored;
  bool allRead = false;
  std::optional<int> version;  ///< of the database, for the connection that read the rows
};

}  // namespace orvel
