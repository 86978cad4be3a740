#pragma once

#include <optional>
#include <string>
#include <vector>

#include "db/DatabaseFile.h"

namespace orvel {

/// The PARTITIONS table: one row for each partition that was indexed into a database, with its
/// status and its generation; and the UNDELIVERED table. A generation is one attach of the device;
/// all partitions seen during it share its number, so older numbers mark partitions that did not
/// come back.
///
/// Refers to a DatabaseFile, which logs failures, and follows its rules. A partition is named by
/// its mount point.
class PartitionTable {
 public:
  explicit PartitionTable(DatabaseFile& file) : database(file) {}

  /// Enters the partition into the current generation, or into a new one when it is the first of
  /// its attach. Marks the playlists of an unfinished partition to be read again.
  bool enter(const std::string& mountPoint, bool isFirst);

  /// "OK", "PROGRESS", or empty when unknown.
  [[nodiscard]] std::string status(const std::string& mountPoint);
  bool setStatus(const std::string& mountPoint, const std::string& status);
  /// Replaces the status of a known partition on a full disk; see `DatabaseFile::overwriteRow`.
  bool overwriteStatus(const std::string& mountPoint, const std::string& status);

  /// The paths that the last request did not get from the device; empty on failure.
  [[nodiscard]] std::vector<std::string> undelivered(const std::string& mountPoint);
  bool setUndelivered(const std::string& mountPoint, const std::vector<std::string>& paths);

  /// The other partitions that are older than the current generation; nothing on failure.
  [[nodiscard]] std::optional<std::vector<std::string>> olderThanCurrent(
      const std::string& mountPoint);
  /// Deletes every row of the partition, the names that no song uses any more, and the playlist
  /// entries whose song is gone.
  bool remove(const std::string& mountPoint);

 private:
  DatabaseFile& database;
};

}  // namespace orvel
