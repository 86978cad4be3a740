#pragma once

namespace orvel {

/// Permanently restricts this process to the system calls that reading tags needs; any other kills
/// it. Returns false when the kernel has no such filter.
bool allowOnlyReading();

}  // namespace orvel
