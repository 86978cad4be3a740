#pragma once

#include "isolation/WorkerProtocol.h"

namespace orvel {

/// Binds this process to its parent's life and confines it to reading the files that it receives:
/// limits on memory, processor time, files and descriptors; no privileges, now or later; no file by
/// name; no other system call. Returns the layers that hold.
/// @param carefully  see `workerProtocol::kCarefully`
workerProtocol::Confinement confineProcess(bool carefully);

}  // namespace orvel
