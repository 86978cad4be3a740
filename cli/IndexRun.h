#pragma once

#include <orvel/AttachedDevices.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "cli/IndexOptions.h"
#include "cli/IndexResult.h"
#include "cli/IndexSource.h"
#include "cli/ProgressLine.h"
#include "cli/SignalWatcher.h"

namespace orvel::cli {

class IndexSession;

/// One run of `orvel index`: a stick, or the attached phones one after the other. Main thread only.
class IndexRun {
 public:
  IndexRun(const IndexOptions& indexOptions, ProgressLine& progressLine);

  /// Returns the result of each device, at least one. Throws CommandError for wrong usage only.
  std::vector<IndexResult> run();

 private:
  using Clock = std::chrono::steady_clock;

  /// Runs `work` and records its result, or its exception as the result's error.
  void record(const std::function<void(IndexResult&)>& work);
  void indexStick(IndexResult& result);
  void indexPhones();
  void indexPhone(const AttachedDevice& phone, IndexResult& result);
  /// Returns the phones to index; none after a signal.
  std::vector<AttachedDevice> wantedPhones();
  /// Waits until a locked phone shows a storage. Returns false after a signal; throws CommandError
  /// when the wait is over or the phone is gone.
  bool waitForStorage(const AttachedDevice& phone);
  void index(IndexSource& source, const std::vector<std::string>& mountPoints, IndexResult& result);
  void prepareDatabase(IndexResult& result) const;
  void interrupt();

  const IndexOptions& options;
  ProgressLine& line;
  SignalWatcher signals;
  IndexSession* session = nullptr;  ///< the current one, null between devices
  std::vector<IndexResult> results;
};

}  // namespace orvel::cli
