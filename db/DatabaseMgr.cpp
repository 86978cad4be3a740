#include <orvel/DatabaseMgr.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <utility>

#include "base/Limits.h"
#include "base/Log.h"
#include "base/NoDestructor.h"
#include "db/DatabaseFile.h"
#include "db/DatabaseFolder.h"
#include "db/DatabaseLease.h"
#include "db/DatabaseRegistry.h"
#include "db/DatabaseSchema.h"
#include "db/FileOperations.h"
#include "db/ManagerSqlTexts.h"
#include "db/PartitionTable.h"
#include "db/SqlStream.h"

namespace orvel {

namespace {

/// The blocks under way may still add this much after `dbSizeHasReachLimit` was asked.
constexpr long kSizeReserve = 4L << 20;

/// The ending of the file beside a damaged database that has it replaced, also by a later process.
constexpr char kDamageMark[] = ".damaged";

constexpr const char* kJournals[] = {"-wal", "-shm", "-journal"};

/// Gives free pages back to the file system and makes the rest durable.
void compact(DatabaseFile& database) {
  database.exec(sql::kFreePages);
  database.checkpoint();
}

/// The size that the file would have without the pages of deleted rows.
std::optional<std::int64_t> bytesUsed(const std::string& file) {
  if (!fileOperations::exists(file)) return std::nullopt;
  DatabaseFile database(file);
  const auto bytes = database.texts(sql::kUsedBytes);
  if (!bytes || bytes->empty()) return std::nullopt;
  return std::stoll(bytes->front());
}

/// Stores the status, in place when that is the only way: on a full disk an old "OK" must not
/// outlive the rows that it spoke for.
bool writeStatus(const std::string& file, const std::string& partition, const std::string& status) {
  {
    DatabaseFile database(file);
    if (!database.isOpen()) return false;
    if (PartitionTable(database).setStatus(partition, status)) return true;
  }
  DatabaseFile database(file);
  return PartitionTable(database).overwriteStatus(partition, status);
}

}  // namespace

struct DatabaseMgr::State {
  DatabaseFolder folder;
  DatabaseRegistry registry;

  /// Deletes a file that is damaged or foreign, so that a new one can be created. False when the
  /// file must not be used now: it is locked, or damaged while other requests use it.
  bool replaceUnusable(const std::string& deviceId, const std::string& file);
  [[nodiscard]] bool isCondemned(const std::string& file) const;
  void remove(const std::string& file);
};

DatabaseMgr::DatabaseMgr() : state(std::make_unique<State>()) {}
DatabaseMgr::~DatabaseMgr() = default;

DatabaseMgr& DatabaseMgr::instance() {
  // Never destroyed: stage threads of a host that forgot to join may still use it at exit.
  static NoDestructor<DatabaseMgr> manager;
  return *manager;
}

DatabaseMgr::Lease::Lease(const std::string& deviceId, const std::string& mountPoint)
    : number(instance().state->registry.addRequest(deviceId, mountPoint)) {}

DatabaseMgr::Lease::~Lease() {
  instance().state->registry.removeRequest(number);
}

bool DatabaseMgr::Lease::lostRows() const {
  return instance().state->registry.lostRows(number);
}

template <class T>
bool DatabaseMgr::open(const std::string& deviceId, T& stream, int busyTimeoutMs) {
  const std::string file = getDbNameFromDevId(deviceId);
  createDirectory();
  stream.open(file.c_str(), busyTimeoutMs);
  if (stream.handle() != nullptr) {
    databaseSchema::ensure(stream.handle());
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

bool DatabaseMgr::createDb(const std::string& deviceId, const std::string& partition,
                           bool isFirstPartition) {
  createDirectory();
  const std::string file = getDbNameFromDevId(deviceId);
  if (!state->replaceUnusable(deviceId, file)) return false;
  DatabaseFile database(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (!database.isOpen()) return false;
  if (!databaseSchema::complete(database)) return false;
  const auto kept = state->registry.keptStatus(file, partition);
  const bool isStored = !kept || insertStatus(deviceId, partition, *kept);
  return PartitionTable(database).enter(partition, isFirstPartition) && isStored;
}

bool DatabaseMgr::State::replaceUnusable(const std::string& deviceId, const std::string& file) {
  using databaseSchema::Content;
  const bool isLink = fileOperations::isLink(file);
  if (!isLink && !fileOperations::exists(file)) return true;
  if (!isLink && !isCondemned(file)) {
    DatabaseFile database(file);
    if (!database.isOpen()) return false;
    const Content content = databaseSchema::probe(database);
    if (content != Content::Foreign) return content != Content::Unknown;
  }
  if (registry.countRequests(deviceId) != 0) {
    instance().condemn(file.c_str());
    return false;
  }
  OV_WARN("%s is damaged or not a database of this version; it is made anew", file.c_str());
  remove(file);
  return !fileOperations::exists(file);
}

std::string DatabaseMgr::getStatus(const std::string& deviceId, const std::string& partition) {
  const std::string file = getDbNameFromDevId(deviceId);
  if (!fileOperations::exists(file) || isCondemned(deviceId)) return "";
  if (const auto kept = state->registry.keptStatus(file, partition)) return *kept;
  DatabaseFile database(file);
  return PartitionTable(database).status(partition);
}

bool DatabaseMgr::insertStatus(const std::string& deviceId, const std::string& partition,
                               const std::string& status) {
  const std::string file = getDbNameFromDevId(deviceId);
  const bool stored = writeStatus(file, partition, status);
  if (stored) {
    state->registry.dropStatus(file, partition);
  } else if (status != "OK") {
    state->registry.keepStatus(file, partition, status);
  }
  return stored;
}

std::vector<std::string> DatabaseMgr::undelivered(const std::string& deviceId,
                                                  const std::string& partition) {
  DatabaseFile database(getDbNameFromDevId(deviceId));
  return PartitionTable(database).undelivered(partition);
}

bool DatabaseMgr::setUndelivered(const std::string& deviceId, const std::string& partition,
                                 const std::vector<std::string>& paths) {
  DatabaseFile database(getDbNameFromDevId(deviceId));
  return PartitionTable(database).setUndelivered(partition, paths);
}

void DatabaseMgr::removeDanglingPartitions(const std::string& deviceId,
                                           const std::string& partition) {
  DatabaseFile database(getDbNameFromDevId(deviceId));
  PartitionTable partitions(database);
  const auto older = partitions.olderThanCurrent(partition);
  if (!older) return;
  for (const std::string& mountPoint : *older) {
    const bool isInUse = state->registry.hasRequest(deviceId, mountPoint) ||
                         fileOperations::isFolderWithEntries(mountPoint);
    if (!isInUse && !partitions.remove(mountPoint)) return;
  }
}

void DatabaseMgr::sync(const std::string& deviceId) {
  const std::string file = getDbNameFromDevId(deviceId);
  if (fileOperations::exists(file)) {
    DatabaseFile database(file);
    compact(database);
  }
  state->folder.flush();
}

bool DatabaseMgr::checkAndDelete(const std::string& deviceId, long limit) {
  const std::string file = getDbNameFromDevId(deviceId);
  if (fileOperations::size(file) <= limit) return false;
  OV_WARN("%s is larger than %ld bytes and is deleted", file.c_str(), limit);
  constexpr std::size_t kAskingRequest = 1;
  if (state->registry.countRequests(deviceId) <= kAskingRequest) {
    deleteDb(deviceId);
    return true;
  }
  // First: a request that ends meanwhile must not call itself complete.
  state->registry.markRowsLost(deviceId);
  DatabaseFile database(file);
  database.execTransaction(sql::kDeleteAll);
  compact(database);
  return true;
}

bool DatabaseMgr::dbSizeHasReachLimit(const std::string& deviceId) {
  return !hasRoomFor(deviceId, kSizeReserve);
}

bool DatabaseMgr::hasRoomFor(const std::string& deviceId, std::int64_t bytes) {
  const std::string file = getDbNameFromDevId(deviceId);
  const std::int64_t allowed = limits().databaseBytes - bytes;
  if (fileOperations::size(file) + fileOperations::size(file + "-wal") <= allowed) return true;
  return bytesUsed(file).value_or(allowed + 1) <= allowed;
}

void DatabaseMgr::deleteDb(const std::string& deviceId) {
  state->remove(getDbNameFromDevId(deviceId));
}

void DatabaseMgr::State::remove(const std::string& file) {
  if (!fileOperations::remove(file)) return;
  for (const char* journal : kJournals) fileOperations::remove(file + journal);
  fileOperations::remove(file + kDamageMark);
  registry.forgetFile(file);
}

bool DatabaseMgr::State::isCondemned(const std::string& file) const {
  return registry.isCondemned(file) || fileOperations::exists(file + kDamageMark);
}

bool DatabaseMgr::verify(const std::string& deviceId) {
  const std::string file = getDbNameFromDevId(deviceId);
  DatabaseFile database(file);
  const auto findings = database.texts(sql::kCheckIntegrity);
  if (!findings || findings->empty()) return false;
  if (findings->front() == "ok") return true;
  OV_WARN("%s is damaged: %s", file.c_str(), findings->front().c_str());
  condemn(file.c_str());
  return false;
}

void DatabaseMgr::condemn(const char* file) noexcept {
  if (file == nullptr) return;
  try {
    state->registry.condemn(file);
    fileOperations::mark(std::string(file) + kDamageMark);
  } catch (const std::exception& error) {
    OV_ERROR("cannot remember that %s is damaged: %s", file, error.what());
  }
}

bool DatabaseMgr::isCondemned(const std::string& deviceId) const {
  return state->isCondemned(getDbNameFromDevId(deviceId));
}

}  // namespace orvel
