#pragma once

#include <cstdint>

#include "isolation/WorkerProtocol.h"

namespace orvel {

/// Needs of a worker's parser beside the files that it receives.
struct ParserNeeds {
  std::uint64_t memoryBytes = std::uint64_t{256} << 20;
  /// Its libraries look for files by name in the ordinary course of things. Such a call then fails
  /// (EACCES) and does not end the process.
  bool looksForFiles = false;
};

/// Binds this process to its parent's life and confines it to reading the files that it receives:
/// limits on memory, processor time, files and descriptors; no privileges, now or later; no file by
/// name; no other system call. Returns the layers that hold.
/// @param carefully  see `workerProtocol::kCarefully`
workerProtocol::Confinement confineProcess(const ParserNeeds& needs, bool carefully);

}  // namespace orvel
