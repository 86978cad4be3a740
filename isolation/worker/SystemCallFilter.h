#pragma once

namespace orvel {

/// Permanently restricts this process to the system calls that parsing a file needs; any other
/// kills it. Returns false when the kernel has no such filter.
/// @param refusesNames  calls that open a file by its name, or ask about it, only fail (EACCES)
bool allowOnlyReading(bool refusesNames);

}  // namespace orvel
