#include <orvel/DatabaseMgr.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "base/Limits.h"
#include "base/Log.h"
#include "base/Md5.h"
#include "base/Mutex.h"
#include "db/DatabaseFile.h"
#include "db/DatabaseFolder.h"
#include "db/DatabaseLease.h"
#include "db/DatabaseSchema.h"
#include "db/SqlStream.h"
#include "db/SqlTexts.h"

namespace orvel {

namespace {

/// What blocks that are already under way may still add after the size was asked for.
constexpr long kSizeReserve = 4L << 20;

constexpr const char* kJournals[] = {"-wal", "-shm", "-journal"};

/// In 64 bits: a file may have more bytes than a `long` counts.
std::int64_t fileSize(const std::string& path) {
  // stat refuses files that are dated after 2038 where time_t has 32 bits.
  struct statx status {};
  const int result = statx(AT_FDCWD, path.c_str(), 0, STATX_SIZE, &status);
  return result == 0 ? static_cast<std::int64_t>(status.stx_size) : 0;
}

bool fileExists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

/// False when the file is still there.
bool removeFile(const std::string& path) {
  if (unlink(path.c_str()) == 0 || errno == ENOENT) return true;
  const int error = errno;
  OV_WARN("cannot remove %s: %s", path.c_str(), std::strerror(error));
  return false;
}

bool isFolderWithEntries(const std::string& path) {
  DIR* const folder = opendir(path.c_str());
  if (folder == nullptr) return false;
  bool found = false;
  while (const dirent* entry = readdir(folder)) {
    const std::string_view name = entry->d_name;
    found = found || (name != "." && name != "..");
  }
  closedir(folder);
  return found;
}

std::string partitionIdOf(const std::string& mountPoint) {
  return Md5(Md5Kind::Directory, mountPoint).text();
}

/// Deletes everything that belongs to one partition.
bool deletePartition(DatabaseFile& database, const std::string& partitionId) {
  return database.run("DELETE FROM SONGS WHERE PARTITION_ID = ?;", {partitionId}) &&
         database.run("DELETE FROM PLAYLISTS WHERE PARTITION_ID = ?;", {partitionId}) &&
         database.run("DELETE FROM DIRECTORIES WHERE PARTITION_ID = ?;", {partitionId}) &&
         database.run("DELETE FROM PARTITIONS WHERE PARTITION_ID = ?;", {partitionId});
}

/// Creates the schema in a file that has none yet.
void ensureSchema(sqlite3* connection) {
  sqlite3_stmt* version = nullptr;
  bool hasSchema = true;
  if (sqlite3_prepare_v2(connection, "PRAGMA user_version;", -1, &version, nullptr) == SQLITE_OK &&
      sqlite3_step(version) == SQLITE_ROW) {
    hasSchema = sqlite3_column_int(version, 0) != 0;
  }
  sqlite3_finalize(version);
  if (hasSchema) return;
  DatabaseFile own(sqlite3_db_filename(connection, "main"));
  if (databaseSchema::probe(own) == databaseSchema::Content::Empty) databaseSchema::create(own);
}

void enterPartition(DatabaseFile& database, const std::string& partition, bool isFirstPartition) {
  const std::string id = partitionIdOf(partition);
  if (!database.exec("BEGIN IMMEDIATE;")) return;
  const bool entered =
      database.run(
          "INSERT INTO PARTITIONS (PARTITION_ID, MOUNTPOINT, GENERATION) VALUES (?1, ?2,"
          " (SELECT COALESCE(MAX(GENERATION), 0) FROM PARTITIONS) + ?3)"
          " ON CONFLICT(PARTITION_ID) DO UPDATE SET GENERATION = excluded.GENERATION;",
          {id, partition, isFirstPartition ? "1" : "0"}) &&
      // Entries of playlists were cleaned up while their songs were missing: read them again.
      database.run(
          "UPDATE PLAYLISTS SET LASTMODIFIED = -1 WHERE PARTITION_ID = ?1 AND EXISTS"
          " (SELECT 1 FROM PARTITIONS WHERE PARTITION_ID = ?1 AND STATUS = 'PROGRESS');",
          {id});
  database.exec(entered ? "COMMIT;" : "ROLLBACK;");
}

/// Stores the status, in place when that is the only way.
bool storeStatus(const std::string& file, const std::string& partition, const std::string& status) {
  const std::string id = partitionIdOf(partition);
  {
    DatabaseFile database(file);
    if (!database.isOpen()) return false;
    if (database.run("INSERT INTO PARTITIONS (PARTITION_ID, MOUNTPOINT, STATUS, GENERATION)"
                     " VALUES (?1, ?2, ?3, (SELECT COALESCE(MAX(GENERATION), 0) FROM PARTITIONS))"
                     " ON CONFLICT(PARTITION_ID) DO UPDATE SET STATUS = excluded.STATUS;",
                     {id, partition, status})) {
      return true;
    }
  }
  // A full disk must not keep an old "OK" alive; the statuses are few bytes in a page of their own.
  DatabaseFile database(file);
  return database.runInPlace("UPDATE PARTITIONS SET STATUS = ?2 WHERE PARTITION_ID = ?1;",
                             {id, status}) &&
         sqlite3_changes(database.handle()) == 1;
}

}  // namespace

struct DatabaseMgr::State {
  DatabaseFolder folder;
  Mutex mutex;
  /// Device and mount point of every live request.
  std::multiset<std::pair<std::string, std::string>> live ORVEL_GUARDED_BY(mutex);
  std::set<std::string> condemned ORVEL_GUARDED_BY(mutex);
  /// Statuses that their file did not take, by file and mount point.
  std::map<std::pair<std::string, std::string>, std::string> unstored ORVEL_GUARDED_BY(mutex);

  std::size_t liveRequests(const std::string& deviceId) ORVEL_EXCLUDES(mutex) {
    const MutexLock lock(mutex);
    return static_cast<std::size_t>(std::count_if(
        live.begin(), live.end(), [&](const auto& request) { return request.first == deviceId; }));
  }

  bool isLive(const std::string& deviceId, const std::string& partition) ORVEL_EXCLUDES(mutex) {
    const MutexLock lock(mutex);
    return live.count({deviceId, partition}) != 0;
  }

  bool replaceUnusable(DatabaseMgr& manager, const std::string& deviceId, const std::string& file);

  std::optional<std::string> unstoredStatus(const std::string& file, const std::string& partition)
      ORVEL_EXCLUDES(mutex) {
    const MutexLock lock(mutex);
    const auto found = unstored.find({file, partition});
    if (found == unstored.end()) return std::nullopt;
    return found->second;
  }
};

DatabaseMgr::DatabaseMgr() : state(std::make_unique<State>()) {}
DatabaseMgr::~DatabaseMgr() = default;

DatabaseMgr& DatabaseMgr::instance() {
  // Never destroyed: stage threads of a host that forgot to join may still use it at exit.
  static auto* const manager = new DatabaseMgr;
  return *manager;
}

DatabaseMgr::Lease::Lease(std::string device, std::string mountPoint)
    : deviceId(std::move(device)), partition(std::move(mountPoint)) {
  State& state = *instance().state;
  const MutexLock lock(state.mutex);
  state.live.emplace(deviceId, partition);
}

DatabaseMgr::Lease::~Lease() {
  State& state = *instance().state;
  const MutexLock lock(state.mutex);
  // Without a key of its own: a destructor must not fail for want of memory.
  const auto found =
      std::find_if(state.live.begin(), state.live.end(), [this](const auto& request) {
        return request.first == deviceId && request.second == partition;
      });
  if (found != state.live.end()) state.live.erase(found);
}

template <class T>
bool DatabaseMgr::open(const std::string& deviceId, T& stream, int busyTimeoutMs) {
  const std::string file = getDbNameFromDevId(deviceId);
  createDirectory();
  stream.open(file.c_str(), busyTimeoutMs);
  if (stream.handle() != nullptr) {
    ensureSchema(stream.handle());
    return true;
  }
  OV_WARN("error opening db: %s", file.c_str());
  throw std::runtime_error("cannot open db");
}

template bool DatabaseMgr::open(const std::string&, sqlstl::basic_sqlostream<char>&, int);
template bool DatabaseMgr::open(const std::string&, sqlstl::basic_sqlistream<char>&, int);

void DatabaseMgr::setDirectory(const std::string& directory) {
  state->folder.set(directory);
}

std::string DatabaseMgr::directory() const {
  return state->folder.get();
}

std::string DatabaseMgr::getDbNameFromDevId(const std::string& deviceId) const {
  return state->folder.fileFor(deviceId);
}

void DatabaseMgr::createDirectory() {
  state->folder.create();
}

/// Makes room for a new database where the file is damaged or foreign. False when the file cannot
/// be used now: it is locked, or damaged and in use.
bool DatabaseMgr::State::replaceUnusable(DatabaseMgr& manager, const std::string& deviceId,
                                         const std::string& file) {
  using databaseSchema::Content;
  if (!fileExists(file)) return true;
  if (!manager.isCondemned(deviceId)) {
    DatabaseFile database(file);
    if (!database.isOpen()) return false;
    const Content content = databaseSchema::probe(database);
    if (content != Content::Foreign) return content != Content::Unknown;
  }
  if (liveRequests(deviceId) != 0) {
    manager.condemn(file.c_str());
    return false;
  }
  OV_WARN("%s is damaged or not a database of this version; it is made anew", file.c_str());
  manager.deleteDb(deviceId);
  return !fileExists(file);
}

void DatabaseMgr::createDb(const std::string& deviceId, const std::string& partition,
                           bool isFirstPartition) {
  createDirectory();
  const std::string file = getDbNameFromDevId(deviceId);
  if (!state->replaceUnusable(*this, deviceId, file)) return;
  DatabaseFile database(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (!database.isOpen()) return;
  using databaseSchema::Content;
  if (databaseSchema::probe(database) == Content::Empty && !databaseSchema::create(database))
    return;
  if (const auto status = state->unstoredStatus(file, partition)) {
    insertStatus(deviceId, partition, *status);
  }
  enterPartition(database, partition, isFirstPartition);
}

std::string DatabaseMgr::getStatus(const std::string& deviceId, const std::string& partition) {
  const std::string file = getDbNameFromDevId(deviceId);
  if (!fileExists(file) || isCondemned(deviceId)) return "";
  if (const auto unstored = state->unstoredStatus(file, partition)) return *unstored;
  DatabaseFile database(file);
  const auto status = database.texts("SELECT STATUS FROM PARTITIONS WHERE PARTITION_ID = ?;",
                                     {partitionIdOf(partition)});
  return status && !status->empty() ? status->front() : "";
}

bool DatabaseMgr::insertStatus(const std::string& deviceId, const std::string& partition,
                               const std::string& status) {
  const std::string file = getDbNameFromDevId(deviceId);
  const bool stored = storeStatus(file, partition, status);
  const MutexLock lock(state->mutex);
  if (stored) {
    state->unstored.erase({file, partition});
  } else if (status != "OK") {
    state->unstored[{file, partition}] = status;
  }
  return stored;
}

void DatabaseMgr::removeDanglingPartitions(const std::string& deviceId,
                                           const std::string& partition) {
  DatabaseFile database(getDbNameFromDevId(deviceId));
  const auto older = database.texts(
      "SELECT MOUNTPOINT FROM PARTITIONS WHERE MOUNTPOINT <> ?1"
      " AND GENERATION < (SELECT MAX(GENERATION) FROM PARTITIONS);",
      {partition});
  if (!older) return;
  for (const std::string& mountPoint : *older) {
    if (state->isLive(deviceId, mountPoint) || isFolderWithEntries(mountPoint)) continue;
    if (!database.exec("BEGIN IMMEDIATE;")) return;
    const bool deleted = deletePartition(database, partitionIdOf(mountPoint));
    database.exec(deleted ? "COMMIT;" : "ROLLBACK;");
    if (deleted) database.exec(sql::kCleanNames);
  }
}

void DatabaseMgr::sync(const std::string& deviceId) {
  const std::string file = getDbNameFromDevId(deviceId);
  if (fileExists(file)) {
    DatabaseFile database(file);
    database.exec("PRAGMA incremental_vacuum;");
    database.checkpoint();
  }
  state->folder.flush();
}

void DatabaseMgr::checkAndDelete(const std::string& deviceId, long limit) {
  const std::string file = getDbNameFromDevId(deviceId);
  if (fileSize(file) <= limit) return;
  OV_WARN("%s is larger than %ld bytes and is deleted", file.c_str(), limit);
  // The request that asks is alive itself.
  if (state->liveRequests(deviceId) <= 1) {
    deleteDb(deviceId);
    return;
  }
  DatabaseFile database(file);
  database.exec(
      "BEGIN IMMEDIATE; DELETE FROM SONGS; DELETE FROM ARTISTS; DELETE FROM ALBUMS;"
      " DELETE FROM GENRES; DELETE FROM COMPOSERS; DELETE FROM DIRECTORIES;"
      " DELETE FROM PLAYLISTS; UPDATE PARTITIONS SET STATUS = ''; COMMIT;");
  if (sqlite3_get_autocommit(database.handle()) == 0) database.exec("ROLLBACK;");
  database.exec("PRAGMA incremental_vacuum;");
  database.checkpoint();
}

bool DatabaseMgr::dbSizeHasReachLimit(const std::string& deviceId) {
  const std::string file = getDbNameFromDevId(deviceId);
  return fileSize(file) + fileSize(file + "-wal") + kSizeReserve > limits().databaseBytes;
}

void DatabaseMgr::deleteDb(const std::string& deviceId) {
  const std::string file = getDbNameFromDevId(deviceId);
  if (!removeFile(file)) return;
  for (const char* journal : kJournals) removeFile(file + journal);
  const MutexLock lock(state->mutex);
  state->condemned.erase(file);
  state->unstored.erase(state->unstored.lower_bound({file, ""}),
                        state->unstored.upper_bound({file + '\0', ""}));
}

bool DatabaseMgr::verify(const std::string& deviceId) {
  const std::string file = getDbNameFromDevId(deviceId);
  DatabaseFile database(file);
  const auto findings = database.texts("PRAGMA integrity_check(1);", {});
  if (!findings || findings->empty()) return false;
  if (findings->front() == "ok") return true;
  OV_WARN("%s is damaged: %s", file.c_str(), findings->front().c_str());
  condemn(file.c_str());
  return false;
}

void DatabaseMgr::condemn(const char* file) noexcept {
  if (file == nullptr) return;
  try {
    const MutexLock lock(state->mutex);
    state->condemned.insert(file);
  } catch (const std::exception& error) {
    OV_ERROR("cannot remember that %s is damaged: %s", file, error.what());
  }
}

bool DatabaseMgr::isCondemned(const std::string& deviceId) const {
  const MutexLock lock(state->mutex);
  return state->condemned.count(getDbNameFromDevId(deviceId)) != 0;
}

}  // namespace orvel
