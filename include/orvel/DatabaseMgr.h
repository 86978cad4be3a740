#pragma once

#include <orvel/Export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orvel {

template <class T>
class NoDestructor;

/// Maps a device to its database file, creates and deletes databases, keeps a status per partition
/// and opens streams. One instance per process; every operation may be called from any thread.
/// Apart from `open`, nothing throws: failures are one log line each, and the work goes on.
///
/// A partition is named by its mount point.
class ORVEL_EXPORT DatabaseMgr {
 public:
  static DatabaseMgr& instance();

  /// Keeps a request for a partition known as alive; see `removeDanglingPartitions`.
  class Lease;

  /// Opens `stream`, an SQL stream of the indexer, on the device's database, which is created where
  /// it has no schema yet. Returns true; throws std::runtime_error("cannot open db") when it cannot
  /// be opened.
  template <class T>
  bool open(const std::string& deviceId, T& stream, int busyTimeoutMs);

  /// Replaces the folder of database files; a host names it in `Settings`.
  void setDirectory(const std::string& directory);
  [[nodiscard]] std::string directory() const;

  /// The path of the device's database file: injective, and safe for any device id.
  [[nodiscard]] std::string getDbNameFromDevId(const std::string& deviceId) const;

  /// Creates the folder of database files with its parents, readable by the owner only.
  void createDirectory();

  /// Creates the database and its schema where absent, replaces a file that is no database of ours,
  /// and enters the partition. `isFirstPartition` begins a new attach of the device.
  /// False when part of this could not be done: a lock was not had, the disk is full, or a damaged
  /// file is in use.
  bool createDb(const std::string& deviceId, const std::string& partition, bool isFirstPartition);

  /// The partition's stored status: "OK", "PROGRESS", or empty when unknown.
  [[nodiscard]] std::string getStatus(const std::string& deviceId, const std::string& partition);
  /// Stores the status; false when the file could not take it. A status other than "OK" is then
  /// kept in memory until it can be stored, so that `getStatus` does not tell of an earlier
  /// success.
  bool insertStatus(const std::string& deviceId, const std::string& partition,
                    const std::string& status);

  /// The paths of the partition that its last request did not get from the device; empty when they
  /// cannot be read.
  std::vector<std::string> undelivered(const std::string& deviceId, const std::string& partition);
  /// Replaces them. False when the file could not take them.
  bool setUndelivered(const std::string& deviceId, const std::string& partition,
                      const std::vector<std::string>& paths);

  /// Deletes the rows of the device's partitions that were not attached again: older than the
  /// current attach, without a live request, and with a mount point that is no folder with entries.
  void removeDanglingPartitions(const std::string& deviceId, const std::string& partition);

  /// Returns free pages to the file system and makes everything written so far durable.
  void sync(const std::string& deviceId);

  /// Deletes the device's database when its file is larger than `limit` bytes; it is emptied in
  /// place while another request of the device lives. True when it did either. The indexer itself
  /// stops before the limit, so this is for growth that is not its own.
  bool checkAndDelete(const std::string& deviceId, long limit);

  /// True when the database has reached its size limit, less a reserve for blocks under way.
  [[nodiscard]] bool dbSizeHasReachLimit(const std::string& deviceId);
  /// True when `bytes` more keep the database within its size limit.
  [[nodiscard]] bool hasRoomFor(const std::string& deviceId, std::int64_t bytes);

  /// Removes the device's database with its journals.
  void deleteDb(const std::string& deviceId);

  /// Looks through the whole database for damage, also where no request has looked, and condemns a
  /// damaged one. False when it is damaged or cannot be read: it must not be called complete.
  bool verify(const std::string& deviceId);
  /// Remembers that `file` was found corrupt: the next `createDb` replaces it.
  void condemn(const char* file) noexcept;
  /// True while the device's database waits to be replaced.
  [[nodiscard]] bool isCondemned(const std::string& deviceId) const;

  DatabaseMgr(const DatabaseMgr&) = delete;
  DatabaseMgr& operator=(const DatabaseMgr&) = delete;

 private:
  friend class NoDestructor<DatabaseMgr>;

  DatabaseMgr();
  ~DatabaseMgr();

  struct State;
  std::unique_ptr<State> state;
};

}  // namespace orvel
