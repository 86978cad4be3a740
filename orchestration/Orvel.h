#pragma once

#include <pthread.h>

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Export.h"
#include "framework/OrvelOperation.h"
#include "framework/RequestProgress.h"
#include "framework/Server.h"

namespace orvel {

class SongDirectoryPipeline;

/// The controller: accepts indexing requests, makes a pipeline for each, runs one at a time and
/// deletes it when it has finished or a newer request for the same device and mount point
/// supersedes it. The host owns it, launches and starts it, attaches it to the facade, and at
/// shutdown stops, joins and destroys it.
///
/// Among waiting requests the first in the order of handle, device id, mount point and age runs
/// next. Requests and priorities may be given from any thread; they wait for one another, and for a
/// superseded pipeline to end, but not for a device that does not answer: after half a second its
/// pipeline is left behind, to be deleted when its threads have ended.
class ORVEL_EXPORT Orvel : public Server<Block<void>, Block<void>> {
 public:
  Orvel();
  /// Stops and joins what the owner forgot, and deletes every pipeline. One whose threads still
  /// wait for a device is never deleted.
  ~Orvel() override;

  /// Indexes `mountPoint` of a device. A live request for the same device id and mount point is
  /// stopped and deleted first. A call made from within another one (a receiver of `databaseExists`
  /// on the same thread) is carried out right after it.
  void enqueueNewOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                           const std::string& mountPoint, bool isFirstPartition);

  /// Runs every request of this handle, device id and mount point and parks all others.
  void prioritizeOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                           const std::string& mountPoint);

  /// How far the newest request for `mountPoint` is, also after it has ended; nothing when there
  /// never was one. Any thread; never waits for a request.
  [[nodiscard]] std::optional<ProgressSnapshot> progressOf(const std::string& mountPoint) const;

  /// How many requests are alive. A host is done when this is 0: the database is flushed after
  /// `indexingFinished`. Any thread; never waits for a request.
  [[nodiscard]] std::size_t liveRequests() const { return liveCount; }

  void stop() override;
  void join() override;
  /// Takes the result of one pipeline: deletes it and runs the next.
  sink_block_type_ptr doOperation(src_block_type_ptr result) override;

 private:
  /// A start or prioritise call of the host's.
  struct HostCall {
    enum Kind { Start, Prioritize } kind;
    OperationType type;
    std::string deviceId;
    unsigned int handle;
    std::string mountPoint;
    bool isFirstPartition;
  };
  class LockHolder;

  void accept(HostCall call) ORVEL_EXCLUDES(lock);
  void carryOut(const HostCall& call) ORVEL_REQUIRES(lock);
  void startOperation(const HostCall& call) ORVEL_REQUIRES(lock);
  void begin(const HostCall& call, std::unique_ptr<SongDirectoryPipeline> created)
      ORVEL_REQUIRES(lock);
  std::unique_ptr<SongDirectoryPipeline> makePipeline(OperationType type);
  void supersede(const HostCall& call) ORVEL_REQUIRES(lock);
  void prioritize(const HostCall& call) ORVEL_REQUIRES(lock);
  bool awaitEnd(SongDirectoryPipeline* pipeline, Deadline deadline) ORVEL_REQUIRES(lock);
  void reap() ORVEL_REQUIRES(lock);
  void remember(const std::string& mountPoint, std::shared_ptr<RequestProgress> newest)
      ORVEL_EXCLUDES(progressMutex);

  int lastOpId ORVEL_GUARDED_BY(lock) = 0;
  std::map<OrvelOperation, SongDirectoryPipeline*> pipelines ORVEL_GUARDED_BY(lock);  ///< owned
  /// Stopped pipelines whose threads do not end, since a device or disk does not answer; owned.
  std::vector<SongDirectoryPipeline*> leftBehind ORVEL_GUARDED_BY(lock);
  Mutex lock;

  std::atomic<std::size_t> liveCount{0};
  std::atomic<pthread_t> holder{0};  ///< the thread that holds `lock`, 0 for none
  /// Calls that the thread that holds `lock` made from within a call.
  std::deque<HostCall> postponed ORVEL_GUARDED_BY(lock);
  bool wasJoined = false;
  mutable Mutex progressMutex;
  std::map<std::string, std::shared_ptr<RequestProgress>> newestProgress
      ORVEL_GUARDED_BY(progressMutex);
};

}  // namespace orvel
