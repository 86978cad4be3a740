#pragma once

#include <orvel/Settings.h>

namespace orvel {

/// Chooses for the threads and processes that are started from now on; see `Settings`. Any thread.
void setWorkPriority(WorkPriority priority);

/// Gives the current thread the chosen priority; what it starts inherits it.
void adoptWorkPriority() noexcept;

}  // namespace orvel
