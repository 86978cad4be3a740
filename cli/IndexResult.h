#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "browse/MediaDatabase.h"
#include "framework/RequestProgress.h"

namespace orvel::cli {

/// The result for one partition.
struct PartitionResult {
  std::string mountPoint;
  ProgressSnapshot progress;
  std::vector<std::string> leftUndone;  ///< reasons, for people; empty if none

  [[nodiscard]] bool ok() const { return progress.status == "OK"; }
  /// "OK" or "PROGRESS".
  [[nodiscard]] const char* status() const { return ok() ? "OK" : "PROGRESS"; }
};

/// The result for one device.
struct IndexResult {
  std::string deviceId;
  std::string database;  ///< path; empty if the run ended before it was known
  std::vector<PartitionResult> partitions;
  int signal = 0;  ///< the signal that interrupted the run, 0 for none
  std::optional<std::string> error;
  double seconds = 0;
  std::optional<double> firstSongSeconds;  ///< from the start of the run
  std::optional<browse::Totals> totals;    ///< absent if there is no database
  std::int64_t databaseBytes = 0;

  /// True if every partition ended with status OK.
  [[nodiscard]] bool ok() const;
  /// The worst status of the partitions: "OK" or "PROGRESS"; null if the run could not begin.
  [[nodiscard]] const char* status() const;
  [[nodiscard]] int exitStatus() const;
};

/// The exit status of a run over several devices: a signal before CouldNotRun before
/// LeftWorkUndone before Done.
int exitStatusOf(const std::vector<IndexResult>& results);

}  // namespace orvel::cli
