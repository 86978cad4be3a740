#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "db/FileInfo.h"
#include "db/SqlStream.h"
#include "framework/Block.h"
#include "msd/StoredFiles.h"

namespace orvel {

/// Orders rows and files alike: by the bytes of the path, then by modification time.
struct DbObjectPtrComparer {
  bool operator()(const DbObject* a, const DbObject* b) const;
  bool operator()(const FileInfo* a, const FileInfo* b) const;
  bool operator()(const FileInfo* a, const DbObject* b) const;
  bool operator()(const DbObject* a, const FileInfo* b) const;
};

/// Compares the files on a device with the rows of its database. Made for one block; borrows the
/// stage's open streams.
class GenericChangeFinder {
 public:
  GenericChangeFinder(const char* stageName, sqlstl::basic_sqlostream<char>& output,
                      sqlstl::basic_sqlistream<char>& input)
      : name(stageName), out(output), in(input) {}

  /// The rows as they were read ahead on the same input stream, or none.
  StoredFiles stored;
  /// Called in the transaction that deletes stale rows, with their ids, before it does.
  std::function<void(const std::vector<std::int32_t>&)> beforeDeletion;

  /// Moves every new file from `found` to `toAdd`, sorted, and deletes every stale row, all in one
  /// transaction. A file is new when no row has its path and modification time; a row is stale when
  /// no file has. A song beside which a picture has appeared or vanished is both. If there is
  /// either, the transaction also sets the partition's status to "PROGRESS". Logs SQL failures; a
  /// row that cannot be read makes its file look new.
  /// @param selectSql  reads id, modification time and path of each row
  /// @param deleteSql  deletes the row of one id
  /// @return the number of new files
  int findDifference(const std::string& selectSql, const std::string& deleteSql,
                     const boost::shared_ptr<Block<FileInfo*>>& found,
                     const boost::shared_ptr<Block<FileInfo*>>& toAdd);

  /// Stale rows of the last call whose path no file has; the others belong to changed files.
  [[nodiscard]] unsigned vanished() const { return vanishedRows; }
  /// True when the last call read every row.
  [[nodiscard]] bool sawAllRows() const { return stored.isComplete(); }
  /// True when the last call found a new file or a stale row.
  [[nodiscard]] bool foundChanges() const { return differs; }
  /// True when the status "PROGRESS" is committed, or nothing was found.
  [[nodiscard]] bool marked() const { return isMarked; }
  /// True when every deletion of the last call is committed.
  [[nodiscard]] bool committed() const { return allDeleted; }

 private:
  void deleteRows(const std::string& deleteSql, const std::vector<const DbObject*>& stale,
                  const Block<FileInfo*>& toAdd);
  bool markInProgress(const std::string& mountPoint);

  const char* name;
  sqlstl::basic_sqlostream<char>& out;
  sqlstl::basic_sqlistream<char>& in;
  unsigned vanishedRows = 0;
  bool differs = false;
  bool isMarked = true;
  bool allDeleted = true;
};

}  // namespace orvel
