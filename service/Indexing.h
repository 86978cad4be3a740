#pragma once

#include <orvel/DeviceHandle.h>
#include <orvel/Orvel.h>

#include <QObject>
#include <atomic>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "service/Timer.h"
#include "service/WorkThread.h"

namespace orvel::service {

/// A device as the indexer needs it.
struct IndexTarget {
  std::string deviceId;
  OperationType type = OperationType::MassStorage;
  t_device_handle handle = 0;            ///< of a phone
  std::vector<std::string> mountPoints;  ///< of its partitions
};

/// Where the indexing of a device is.
struct IndexState {
  enum class Phase { Idle, Waiting, Paused, Searching, Reading, Finishing, Failed };

  Phase phase = Phase::Idle;
  /// The newest request for each partition since the device was attached.
  std::vector<ProgressSnapshot> partitions;
};

/// Is told about requests, on the main loop.
class IndexingListener {
 public:
  virtual ~IndexingListener() = default;

  /// The state has changed, or the request goes on.
  virtual void indexingProgressed(const std::string& deviceId) = 0;
  /// One partition's songs, playlists and folders have all been found.
  virtual void listIsReady(const std::string& deviceId) = 0;
  virtual void foldersAreComplete(const std::string& deviceId) = 0;
  /// The last request for the device is over.
  virtual void indexingEnded(const std::string& deviceId) = 0;
};

/// Owns the indexer's controller and decides which request runs: the selected device's first, the
/// others in the order in which they came, none during a pause. The controller gets one request at
/// a time: one that must wait is stopped, which frees its device at once, and started again later.
///
/// Main loop only, which is GLib's default one. No call waits for a device or a disk: a thread of
/// its own makes the controller's calls. While nothing is to be indexed, nothing wakes up.
class Indexing {
 public:
  explicit Indexing(IndexingListener& told);
  /// Stops whatever runs; waits at most half a second for a device that does not answer.
  ~Indexing();
  Indexing(const Indexing&) = delete;
  Indexing& operator=(const Indexing&) = delete;

  /// Indexes these partitions, of a device that was attached just now, or again. Requests for the
  /// same partitions that are under way are superseded.
  void index(const IndexTarget& target);
  /// Indexes one more partition of a device that is attached.
  void indexPartition(const IndexTarget& target, const std::string& mountPoint);
  /// Ends the device's requests. Songs that are stored stay stored.
  void stop(const std::string& deviceId);
  /// The same for a device that is gone.
  void remove(const std::string& deviceId);
  /// The same, and forgets the device's progress.
  void forget(const std::string& deviceId);
  /// Ends the request for a partition that is gone, of a device that is not.
  void removePartition(const std::string& deviceId, const std::string& mountPoint);
  /// Runs the requests of this device before all others; empty: in the order of their arrival.
  void select(const std::string& deviceId);
  void setPaused(bool wanted);

  /// The state of a device that was handed to `index`.
  [[nodiscard]] IndexState stateOf(const std::string& deviceId) const;
  [[nodiscard]] bool isIdle() const { return jobs.empty(); }
  [[nodiscard]] bool hasWorkFor(const std::string& deviceId) const {
    return firstJobOf(deviceId) != nullptr;
  }

  /// Carries out `job` after the controller's calls that were made so far, on their thread.
  void afterCalls(WorkThread::Job job) { control.post(std::move(job)); }

 private:
  /// A request for one partition.
  struct Job {
    IndexTarget target;
    std::string mountPoint;
    bool isFirstPartition = true;
    bool isLive = false;       ///< the controller has it
    bool isFinishing = false;  ///< its status is stored; the controller has yet to let go of it
    bool isOver = false;
    bool hasFolders = false;  ///< its folder tree was told
  };
  using Jobs = std::list<Job>;

  /// The progress of a device since it was attached.
  struct Progress {
    std::map<std::string, ProgressSnapshot> partitions;  ///< by mount point
    bool hasFailed = false;
  };

  void connectFacade();
  /// Interrupts and starts requests as the order of jobs demands.
  void schedule();
  [[nodiscard]] Job* wantedJob();
  void start(Job& job);
  /// Stops a request. Started again it goes on with the songs that are not stored yet.
  void interrupt(const Job& job);
  /// Makes a call to the controller on the thread for it.
  void call(WorkThread::Job controllerCall);
  void addJob(const IndexTarget& target, const std::string& mountPoint, bool isFirstPartition);
  void dropJobs(const std::function<bool(const Job&)>& areOver);
  void stopped(const std::string& deviceId);
  void finished(const std::string& mountPoint);
  void found(const std::string& mountPoint);
  /// Looks at the progress of the running request.
  void look();
  void setPace();
  void endRunning();
  void attendPhone();
  [[nodiscard]] const Job* firstJobOf(const std::string& deviceId) const;

  IndexingListener& listener;
  Orvel controller;
  QObject connections;     ///< ends the facade's signals to this object
  Jobs jobs;               ///< in the order of their arrival
  Job* running = nullptr;  ///< the one that the controller has
  std::string selected;
  bool paused = false;
  std::map<std::string, Progress> progress;  ///< by device id
  Timer progressTimer;
  Timer phoneTimer;
  std::atomic<int> callsUnderWay{0};
  WorkThread control;  ///< last: its jobs use the rest
};

}  // namespace orvel::service
