#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "cli/CommandLine.h"
#include "cli/IndexResult.h"
#include "cli/IndexSource.h"
#include "cli/ProgressLine.h"
#include "cli/SignalWatcher.h"
#include "phones/AttachedDevices.h"

namespace orvel::cli {

class IndexSession;

/// One run of `orvel index`: a stick, or the attached phones one after the other. Lives on the main
/// thread.
class IndexRun {
 public:
  IndexRun(const IndexOptions& indexOptions, ProgressLine& progressLine);

  /// What became of each device, at least one. Throws CommandError for wrong usage only.
  std::vector<IndexResult> run();

 private:
  using Clock = std::chrono::steady_clock;

  /// Takes what became of one device; `work` may throw.
  void record(const std::function<void(IndexResult&)>& work);
  void indexStick(IndexResult& result);
  void indexPhones();
  void indexPhone(const AttachedDevice& phone, IndexResult& result);
  /// The phones that the run is for; none after a signal.
  std::vector<AttachedDevice> wantedPhones();
  /// Waits until a locked phone shows a storage; false after a signal.
  bool waitForStorage(const AttachedDevice& phone);
  void index(IndexSource& source, const std::vector<std::string>& mountPoints, IndexResult& result);
  void prepareDatabase(IndexResult& result) const;
  void interrupt();

  const IndexOptions& options;
  ProgressLine& line;
  SignalWatcher signals;
  IndexSession* session = nullptr;  ///< that is under way
  std::vector<IndexResult> results;
};

}  // namespace orvel::cli
