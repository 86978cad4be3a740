#include "orchestration/SongDirectoryPipeline.h"

#include <orvel/Orvel.h>

#include "base/Limits.h"
#include "base/Log.h"
#include "base/Probes.h"
#include "base/Timer.h"
#include "base/retryOnBadAlloc.h"
#include "db/SqlTexts.h"
#include "db/cleanUp.h"

namespace orvel {

namespace {
/// Every pipeline has three terminal stages: the savers of songs, playlists and directories.
constexpr int kTerminalStages = 3;
}  // namespace

SongDirectoryPipeline::SongDirectoryPipeline(const char* pipelineName, Orvel* owner,
                                             OperationType kind)
    : Pipeline(pipelineName),
      type(kind),
      controller(owner),
      check(static_cast<DatabaseCheck*>(
          stages.emplace_back(std::make_unique<DatabaseCheck>()).get())) {
  operation.startTime = Timer::now();
  if (owner != nullptr) listener = owner->listener;
}

void SongDirectoryPipeline::leaveBehind() {
  const MutexLock lock(controllerMutex);
  controller = nullptr;
  lease.reset();
}

void SongDirectoryPipeline::enqueueNewOperation(OrvelOperation& request, bool isFirstPartition) {
  OV_INFO("enqueueNewOperation mp: %s", request.mountPoint.c_str());
  DatabaseMgr& databases = DatabaseMgr::instance();
  if (!databases.createDb(request.deviceId, request.mountPoint, isFirstPartition)) {
    progress->leaveUndone(databases.isCondemned(request.deviceId) ? LeftUndone::DatabaseDamaged
                                                                  : LeftUndone::NotPrepared);
    request.skipped = true;
  }
  lease.emplace(request.deviceId, request.mountPoint);
  if (databases.getStatus(request.deviceId, request.mountPoint) == "OK") {
    progress->databaseExisted = true;
    listener->databaseExists(request.deviceId, request.mountPoint);
    check->prepare(databases.getDbNameFromDevId(request.deviceId));
    if (running()) check->start();
  }
  enqueueOperation(request);
}

void SongDirectoryPipeline::enqueueOperation(OrvelOperation& request) {
  OV_INFO("enqueueOperation %d", request.opId);
  operation = request;
  const auto root = boost::make_shared<Block<Directory*>>(
      Operation(request.opId, request.handle, request.deviceId, request.mountPoint, true));
  root->items.reserve(1);
  root->items.push_back(new Directory(request.mountPoint, request.mountPoint, -1));
  request.startTime = Timer::now();
  crawler()->enqueue(root);
}

SongDirectoryPipeline::sink_block_type_ptr SongDirectoryPipeline::doOperation(
    src_block_type_ptr result) {
  if (!result->operation.last) {
    OV_ERROR("Received a non LAST block! WE SHOULD NEVER BE HERE");
    return {};
  }
  if (result->operation.id != operation.opId) {
    OV_ERROR("OPERATION MISMATCH!!");
    return {};
  }
  ++operation.resultCount;
  operation.skipped = operation.skipped || result->operation.skipped;
  OV_INFO("Result for id %d: %d", operation.opId, operation.resultCount);
  if (operation.resultCount == kTerminalStages) finish(result);
  return {};
}

void SongDirectoryPipeline::finish(const src_block_type_ptr& result) {
  try {
    retryOnBadAlloc([this] { removeOrphanedEntries(); });
    retryOnBadAlloc([this] { concludeStatus(); });
    retryOnBadAlloc([this] { removeDanglingPartitions(); });
    if (stopping()) return;
    listener->indexingFinished(operation.mountPoint);
    retryOnBadAlloc([this] { makeDurable(); });
    if (stopping()) return;
    progress->enter(RequestPhase::Finished);
    probes::requestEnds(operation.opId, progress->status);
    reportToController(result);
  } catch (const std::exception&) {
    progress->fail();
    throw;
  }
}

void SongDirectoryPipeline::reportToController(const src_block_type_ptr& result) {
  const MutexLock lock(controllerMutex);
  if (controller != nullptr) controller->enqueue(result);
}

void SongDirectoryPipeline::removeOrphanedEntries() {
  OV_INFO("Clear Playlists");
  sqlstl::basic_sqlostream<char> out;
  DatabaseMgr::instance().open(operation.deviceId, out, kBusyTimeoutMs);
  if (mayHaveOrphanedEntries(out.database()) && !cleanUp(out, sql::kClearPlaylists)) {
    leaveUndone(LeftUndone::RowsLost);
  }
  out.close();
}

bool SongDirectoryPipeline::mayHaveOrphanedEntries(sqlite::Connection& database) const {
  if (progress->playlistsChanged) return true;
  return progress->songsChanged ? !orphanCandidates->areNone() : !isCleanedUp(database);
}

void SongDirectoryPipeline::leaveUndone(LeftUndone reason) {
  progress->leaveUndone(stopping() ? LeftUndone::Interrupted : reason);
  operation.skipped = true;
}

void SongDirectoryPipeline::concludeStatus() {
  operation.endTime = Timer::now();
  OV_INFO("End operation for id %d that took %ld", operation.opId,
          Timer::milliseconds(operation.startTime, operation.endTime));
  DatabaseMgr& databases = DatabaseMgr::instance();
  rememberFailures(!operation.skipped);
  const bool isConfirmed = check->confirms();
  const bool isSound = operation.skipped || isConfirmed || databases.verify(operation.deviceId);
  if (databases.isCondemned(operation.deviceId)) {
    leaveUndone(LeftUndone::DatabaseDamaged);
  } else if (!isSound) {
    leaveUndone(LeftUndone::RowsLost);
  }
  const bool isStored = store(operation.skipped ? "PROGRESS" : "OK");
  if (!isStored) leaveUndone(LeftUndone::RowsLost);
  if (lostRows()) {
    leaveUndone(LeftUndone::TooLarge);
    store("PROGRESS");
  }
  progress->status = operation.skipped ? "PROGRESS" : "OK";
}

bool SongDirectoryPipeline::store(const char* status) {
  return DatabaseMgr::instance().insertStatus(operation.deviceId, operation.mountPoint, status);
}

bool SongDirectoryPipeline::lostRows() {
  const MutexLock lock(controllerMutex);
  return lease && lease->lostRows();
}

void SongDirectoryPipeline::removeDanglingPartitions() {
  DatabaseMgr::instance().removeDanglingPartitions(operation.deviceId, operation.mountPoint);
}

void SongDirectoryPipeline::makeDurable() {
  DatabaseMgr& databases = DatabaseMgr::instance();
  databases.sync(operation.deviceId);
  if (stopping()) return;
  if (!databases.checkAndDelete(operation.deviceId, limits().databaseBytes)) return;
  leaveUndone(LeftUndone::TooLarge);
  progress->status = "";
}

}  // namespace orvel
