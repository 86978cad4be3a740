#include "cli/IndexResult.h"

#include <algorithm>

#include "cli/ExitStatus.h"

namespace orvel::cli {

namespace {

/// Added to the number of the signal that ended a run, as shells do.
constexpr int kSignalStatus = 128;

}  // namespace

bool IndexResult::ok() const {
  return std::all_of(partitions.begin(), partitions.end(),
                     [](const PartitionResult& partition) { return partition.ok(); });
}

const char* IndexResult::status() const {
  if (partitions.empty()) return nullptr;
  return ok() ? "OK" : "PROGRESS";
}

int IndexResult::exitStatus() const {
  if (error) return CouldNotRun;
  if (signal != 0) return kSignalStatus + signal;
  return ok() ? Done : LeftWorkUndone;
}

int exitStatusOf(const std::vector<IndexResult>& results) {
  int worst = Done;
  for (const IndexResult& result : results) {
    const int status = result.exitStatus();
    if (status > kSignalStatus) return status;
    if (worst != CouldNotRun && status != Done) worst = status;
  }
  return worst;
}

}  // namespace orvel::cli
