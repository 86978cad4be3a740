#pragma once

#include <orvel/Orvel.h>
#include <pthread.h>

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "framework/OrvelOperation.h"
#include "framework/RequestProgress.h"
#include "orchestration/SongDirectoryPipeline.h"

namespace orvel {

/// The controller's table of live requests, with the lock that all calls about requests take.
///
/// Calls may come from any thread. One that the thread of another call makes from within it (a
/// receiver of `databaseExists`) is carried out right after that call. One from the thread of a
/// stage or pipeline (a receiver of `indexingFinished`) is carried out on the controller's thread:
/// it could otherwise delete the pipeline that it runs on.
class Orvel::Requests {
 public:
  explicit Requests(Orvel& controller) : owner(controller) {}
  /// Every pipeline is stopped and joined, or left behind.
  ~Requests();
  Requests(const Requests&) = delete;
  Requests& operator=(const Requests&) = delete;

  /// Operation id of the block that wakes the controller for handed-over calls; requests count from
  /// 1.
  static constexpr int kHandedOver = 0;

  /// A start, prioritise or stop call of the host's.
  struct HostCall {
    enum class Kind { Start, Prioritize, Stop } kind;
    OperationType type;
    std::string deviceId;
    unsigned int handle;
    std::string mountPoint;
    bool isFirstPartition;
  };

  /// Carries `call` out. Never throws: a failure is logged.
  void accept(HostCall call) ORVEL_EXCLUDES(lock);
  /// Deletes the pipeline of a finished request and starts the first one that waits.
  void finish(const Operation& finished) ORVEL_EXCLUDES(lock);
  /// Stops every pipeline and refuses every later call. May be called from within a call.
  void stopAll();
  /// Carries out the calls that other threads handed over. For the controller's thread.
  void serveHandedOver() ORVEL_EXCLUDES(lock, handedOverMutex);
  void joinAll() ORVEL_EXCLUDES(lock);

  [[nodiscard]] std::optional<ProgressSnapshot> progressOf(const std::string& mountPoint) const
      ORVEL_EXCLUDES(progressMutex);
  [[nodiscard]] std::size_t live() const { return liveCount; }
  /// True once `joinAll` was called. For the owner's thread.
  [[nodiscard]] bool wereJoined() const { return joined; }

 private:
  class LockHolder;
  using Pipelines = std::map<OrvelOperation, std::unique_ptr<SongDirectoryPipeline>>;

  /// Carries `call` and the calls made from within it out, here and now.
  void serve(HostCall call) ORVEL_EXCLUDES(lock);
  /// Queues `call` for the controller's thread.
  void handOver(HostCall call) ORVEL_EXCLUDES(handedOverMutex);
  void carryOut(const HostCall& call) ORVEL_REQUIRES(lock);
  void start(const HostCall& call) ORVEL_REQUIRES(lock);
  /// Enters the new request into the table, launches its pipeline and hands it the request.
  void enter(const HostCall& call, std::unique_ptr<SongDirectoryPipeline> created)
      ORVEL_REQUIRES(lock);
  [[nodiscard]] std::unique_ptr<SongDirectoryPipeline> makePipeline(OperationType type) const;
  /// Stops and deletes the requests for the call's device and mount point. True if there were any.
  bool supersede(const HostCall& call) ORVEL_REQUIRES(lock);
  void prioritize(const HostCall& call) ORVEL_REQUIRES(lock);
  void stop(const HostCall& call) ORVEL_REQUIRES(lock);
  /// Starts the first request of the table.
  void startNext() ORVEL_REQUIRES(lock);
  void remember(const std::string& mountPoint, std::shared_ptr<RequestProgress> newest)
      ORVEL_EXCLUDES(progressMutex);

  /// Joins a stopped pipeline, or leaves it behind when its threads do not end by `deadline`.
  /// Returns the pipeline in the first case.
  std::unique_ptr<SongDirectoryPipeline> awaitEnd(std::unique_ptr<SongDirectoryPipeline> pipeline,
                                                  Deadline deadline) ORVEL_REQUIRES(lock);
  /// Deletes the pipelines left behind whose threads have ended since.
  void reap() ORVEL_REQUIRES(lock);

  Orvel& owner;

  Mutex lock;
  int lastOpId ORVEL_GUARDED_BY(lock) = 0;
  Pipelines pipelines ORVEL_GUARDED_BY(lock);
  /// Stopped pipelines whose threads do not end, since a device or disk does not answer.
  std::vector<std::unique_ptr<SongDirectoryPipeline>> leftBehind ORVEL_GUARDED_BY(lock);
  /// Calls that the thread that holds `lock` made from within a call.
  std::deque<HostCall> postponed ORVEL_GUARDED_BY(lock);

  bool joined = false;  ///< the owner's thread only
  std::atomic<std::size_t> liveCount{0};
  std::atomic<pthread_t> holder{0};  ///< the thread that holds `lock`, 0 for none

  Mutex handedOverMutex;
  std::deque<HostCall> handedOver ORVEL_GUARDED_BY(handedOverMutex);

  mutable Mutex progressMutex;
  std::map<std::string, std::shared_ptr<RequestProgress>> newestProgress
      ORVEL_GUARDED_BY(progressMutex);
};

}  // namespace orvel
