#pragma once

namespace orvel {

/// Permanently restricts this process to the system calls that parsing a file needs; any other, and
/// any of these with arguments that it does not need, kills the process.
/// @param refusesNames  calls that open a file by its name, or ask about it, only fail (EACCES)
/// @param avoidSeccomp  true when the call of that name would end this process
/// Returns 0, or the error number: ENOTSUP when the calls of this architecture are not known.
int allowOnlyReading(bool refusesNames, bool avoidSeccomp);

}  // namespace orvel
