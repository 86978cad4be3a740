#pragma once

namespace orvel {

/// Leaves this process the system calls that reading tags takes, for good; any other ends it at
/// once. Returns false when the kernel has no such filter.
bool allowOnlyReading();

}  // namespace orvel
