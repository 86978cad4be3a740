#include "db/PartitionTable.h"

#include <algorithm>
#include <iterator>

#include "base/Md5.h"
#include "db/ManagerSqlTexts.h"
#include "db/SqlTexts.h"

namespace orvel {

namespace {

std::string idOf(const std::string& mountPoint) {
  return Md5(Md5Kind::Directory, mountPoint).text();
}

}  // namespace

bool PartitionTable::enter(const std::string& mountPoint, bool isFirst) {
  const std::string id = idOf(mountPoint);
  return database.transact([&] {
    return database.run(sql::kEnterPartition, {id, mountPoint, isFirst ? "1" : "0"}) &&
           database.run(sql::kForgetPlaylists, {id});
  });
}

std::string PartitionTable::status(const std::string& mountPoint) {
  const auto found = database.texts(sql::kSelectStatus, {idOf(mountPoint)});
  return found && !found->empty() ? found->front() : "";
}

bool PartitionTable::setStatus(const std::string& mountPoint, const std::string& status) {
  return database.transact([&] {
    return database.run(sql::kUpsertStatus, {idOf(mountPoint), mountPoint, status});
  });
}

bool PartitionTable::overwriteStatus(const std::string& mountPoint, const std::string& status) {
  return database.overwriteRow(sql::kUpdateStatus, {idOf(mountPoint), status});
}

std::vector<std::string> PartitionTable::undelivered(const std::string& mountPoint) {
  return database.texts(sql::kSelectUndelivered, {idOf(mountPoint)})
      .value_or(std::vector<std::string>());
}

bool PartitionTable::setUndelivered(const std::string& mountPoint,
                                    const std::vector<std::string>& paths) {
  const std::string id = idOf(mountPoint);
  return database.transact([&] {
    return database.run(sql::kDeleteUndelivered, {id}) &&
           std::all_of(paths.begin(), paths.end(), [&](const std::string& path) {
             return database.run(sql::kInsertUndelivered, {id, path});
           });
  });
}

std::optional<std::vector<std::string>> PartitionTable::olderThanCurrent(
    const std::string& mountPoint) {
  return database.texts(sql::kSelectOlderPartitions, {mountPoint});
}

bool PartitionTable::remove(const std::string& mountPoint) {
  const std::string id = idOf(mountPoint);
  // Its status tells of a clean-up that is due until the last step, also after a kill.
  const bool emptied = database.transact([&] {
    return std::all_of(std::begin(sql::kEmptyPartition), std::end(sql::kEmptyPartition),
                       [&](const char* deletion) { return database.run(deletion, {id}); }) &&
           database.run(sql::kUpsertStatus, {id, mountPoint, "PROGRESS"});
  });
  return emptied && database.execTransaction(sql::kCleanNames) &&
         database.execTransaction(sql::kClearPlaylists) &&
         database.transact([&] { return database.run(sql::kDeletePartition, {id}); });
}

}  // namespace orvel
