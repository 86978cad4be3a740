#pragma once

#include "base/Export.h"

namespace orvel {

/// How Orvel competes with the host for processor and storage.
enum class WorkPriority : unsigned char {
  /// Like any other thread of the host.
  Normal,
  /// With what nobody else wants: playback from a device goes on while it is indexed.
  Background
};

/// Chooses for the threads and tag reader processes that are started from now on; at start it is
/// `Normal`. To be called before the controller is launched. Any thread.
///
/// `Background` is SCHED_IDLE and the idle class of I/O priorities, for which no privilege is
/// needed; a system that refuses them is logged, and the work goes on. Whether the I/O priority
/// counts is up to the device's I/O scheduler: bfq heeds it. On a processor that is never idle
/// indexing hardly goes on, and calls that wait for a superseded request wait accordingly.
ORVEL_EXPORT void setWorkPriority(WorkPriority priority);

/// Gives the current thread the chosen priority; what it starts inherits it.
void adoptWorkPriority() noexcept;

}  // namespace orvel
