#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "db/FileInfo.h"
#include "db/SqlStream.h"
#include "framework/Block.h"

namespace orvel {

/// One file as the database knows it.
struct DbObject {
  std::int32_t id = 0;
  std::int32_t lastModified = 0;  ///< seconds, narrowed as in FileInfo
  std::string path;
};

/// Orders files by the bytes of their path and then by modification time, on both sides of the
/// comparison.
struct DbObjectPtrComparer {
  bool operator()(const DbObject* a, const DbObject* b) const;
  bool operator()(const FileInfo* a, const FileInfo* b) const;
  bool operator()(const FileInfo* a, const DbObject* b) const;
  bool operator()(const DbObject* a, const FileInfo* b) const;
};

/// Compares what a device holds with what its database holds. Made for one block; borrows the
/// stage's open streams.
class GenericChangeFinder {
 public:
  GenericChangeFinder(const char* stageName, sqlstl::basic_sqlostream<char>& output,
                      sqlstl::basic_sqlistream<char>& input)
      : name(stageName), out(output), in(input) {}

  /// Reads the rows with `selectSql`, moves every file of `found` without an equal row into
  /// `toAdd`, sorted, and deletes every row without an equal file with `deleteSql`, by its id, in
  /// one transaction. Rows are equal to files when path and modification time are. Returns the
  /// number of files to add. SQL failures are logged; unreadable rows make their files look new.
  /// Rows that make room for files to add take the partition's status "OK" with them.
  int findDifference(const std::string& selectSql, const std::string& deleteSql,
                     const boost::shared_ptr<Block<FileInfo*>>& found,
                     const boost::shared_ptr<Block<FileInfo*>>& toAdd);

  /// Rows deleted by the last call because no file has their path any more.
  [[nodiscard]] unsigned vanished() const { return vanishedRows; }
  /// False when the last call could not read every row.
  [[nodiscard]] bool sawAllRows() const { return allRead; }
  /// False when deletions of the last call did not reach the database.
  [[nodiscard]] bool committed() const { return allDeleted; }

 private:
  std::vector<DbObject> readRows(const std::string& selectSql);
  void deleteRows(const std::string& deleteSql, const std::vector<const DbObject*>& rows,
                  const std::string* partitionInProgress);

  const char* name;
  sqlstl::basic_sqlostream<char>& out;
  sqlstl::basic_sqlistream<char>& in;
  unsigned vanishedRows = 0;
  bool allRead = true;
  bool allDeleted = true;
};

}  // namespace orvel
