#pragma once

#include <QEventLoop>
#include <QTimer>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "cli/IndexResult.h"
#include "cli/IndexSource.h"
#include "cli/ProgressLine.h"
#include "orchestration/Orvel.h"

namespace orvel::cli {

/// Indexes the partitions of one device, one after the other, through the facade and a controller
/// of its own. Lives on the main thread; the application's event loop must be GLib's.
class IndexSession {
 public:
  /// `runResult` names the device, its database and the partitions, and takes what becomes of them.
  IndexSession(IndexSource& device, IndexResult& runResult, ProgressLine& progressLine);
  /// Stops what is still running.
  ~IndexSession();
  IndexSession(const IndexSession&) = delete;
  IndexSession& operator=(const IndexSession&) = delete;

  /// Returns when every partition of the result is indexed, one could not be, or `interrupt` was
  /// called.
  void run();

  /// Stops in order and ends `run`.
  void interrupt();

 private:
  using Clock = std::chrono::steady_clock;

  void begin(std::size_t index);
  void look();
  void attend();
  void finishPartition(const ProgressSnapshot& snapshot);
  void takeSnapshot(const ProgressSnapshot& snapshot);
  void explainRest();
  void shutDown();
  PartitionResult& partition() { return result.partitions[current]; }

  IndexSource& source;
  IndexResult& result;
  ProgressLine& line;
  const Clock::time_point started = Clock::now();
  std::size_t current = 0;
  double begunAfter = 0;  ///< seconds from the start of the run to that of the partition
  bool isDown = false;
  Orvel controller;
  QEventLoop loop;
  QTimer progressTimer;
  QTimer endTimer;
  QTimer attendTimer;
};

}  // namespace orvel::cli
