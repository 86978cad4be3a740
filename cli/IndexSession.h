#pragma once

#include <orvel/Orvel.h>

#include <QEventLoop>
#include <QTimer>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "cli/IndexResult.h"
#include "cli/IndexSource.h"
#include "cli/ProgressLine.h"

namespace orvel::cli {

/// Indexes the partitions of one device, one after the other, through the facade and its own
/// controller. Main thread only; the application's event loop must be GLib's.
class IndexSession {
 public:
  /// @param runResult  names the device, its database and the partitions; receives the results
  IndexSession(IndexSource& device, IndexResult& runResult, ProgressLine& progressLine);
  /// Stops a request that is still alive.
  ~IndexSession();
  IndexSession(const IndexSession&) = delete;
  IndexSession& operator=(const IndexSession&) = delete;

  /// Returns when every partition is indexed, one of them failed, or `interrupt` was called.
  void run();

  /// Stops the controller and ends `run`.
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
  double begunAfter = 0;  ///< seconds from the start of the session to the partition's
  bool isDown = false;
  Orvel controller;
  QEventLoop loop;
  QTimer progressTimer;
  QTimer endTimer;
  QTimer attendTimer;
};

}  // namespace orvel::cli
