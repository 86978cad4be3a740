#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/MediaDatabase.h"
#include "framework/RequestProgress.h"

namespace orvel::cli {

/// What became of one partition.
struct PartitionResult {
  std::string mountPoint;
  ProgressSnapshot progress;
  std::vector<std::string> leftUndone;  ///< texts for people; empty when nothing was left undone

  [[nodiscard]] bool ok() const { return progress.status == "OK"; }
  /// "OK" or "PROGRESS".
  [[nodiscard]] const char* status() const { return ok() ? "OK" : "PROGRESS"; }
};

/// What a run of the indexer has to tell.
struct IndexResult {
  std::string deviceId;
  std::string database;  ///< path; empty when the run ended before it was known
  std::vector<PartitionResult> partitions;
  int signal = 0;  ///< that interrupted the run, 0 for none
  std::optional<std::string> error;
  double seconds = 0;
  std::optional<double> firstSongSeconds;  ///< from the start of the run
  std::optional<Totals> totals;            ///< absent when there is no database
  std::int64_t databaseBytes = 0;

  /// True when every partition ended with status OK.
  [[nodiscard]] bool ok() const;
  /// The worst of the partitions: "OK" or "PROGRESS"; null when the run could not begin.
  [[nodiscard]] const char* status() const;
  [[nodiscard]] int exitStatus() const;
};

/// The exit status of a run over several devices: that of the worst.
int exitStatusOf(const std::vector<IndexResult>& results);

}  // namespace orvel::cli
