#pragma once

#include "base/Log.h"

namespace orvel {

/// Registers the process with Diagnostic Log and Trace as `applicationId` and returns the sink that
/// writes there; null when the library was built without it or registering failed.
LogSink openDltSink(const char* applicationId) noexcept;

}  // namespace orvel
