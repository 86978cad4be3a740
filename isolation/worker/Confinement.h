#pragma once

#include "isolation/WorkerProtocol.h"

namespace orvel {

/// Binds this process to its parent's life and confines it to reading the files that it receives:
/// limits on memory, processor time, files and descriptors; no new privileges; no file by name; no
/// other system call. Returns the parts that the kernel granted.
workerProtocol::Confinement confineProcess();

}  // namespace orvel
