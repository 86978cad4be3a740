#include "host/IndexResult.h"

#include <algorithm>

#include "host/ExitStatus.h"

namespace orvel::host {

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
  if (signal != 0) return 128 + signal;
  return ok() ? Done : LeftWorkUndone;
}

}  // namespace orvel::host
