#pragma once

namespace orvel {

/// Permanently restricts this process to the system calls that reading tags needs; any other, and
/// any of these with arguments that it does not need, kills the process.
/// @param avoidSeccomp  true when the call of that name would end this process
/// Returns 0, or the error number: ENOTSUP when the calls of this architecture are not known.
int allowOnlyReading(bool avoidSeccomp);

}  // namespace orvel
