#pragma once

#include <orvel/Settings.h>

namespace orvel {

/// Chooses for the threads and processes that are started from now on; see `Settings`. Any thread.
void setWorkPriority(WorkPriority priority);

/// Gives the current thread the chosen priority, which its threads and processes inherit.
void adoptWorkPriority() noexcept;

}  // namespace orvel
