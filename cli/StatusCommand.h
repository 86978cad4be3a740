#pragma once

#include "cli/CommandLine.h"

namespace orvel::host {

/// `orvel status`: returns the exit status; throws HostError.
int runStatus(const StatusOptions& options);

}  // namespace orvel::host
