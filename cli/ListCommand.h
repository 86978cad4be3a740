#pragma once

#include "cli/CommandLine.h"

namespace orvel::host {

/// `orvel list`: returns the exit status; throws HostError.
int runList(const ListOptions& options);

}  // namespace orvel::host
