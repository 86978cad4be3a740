#pragma once

#include "cli/CommandLine.h"

namespace orvel::host {

/// `orvel index`: returns the exit status. Throws HostError for wrong usage only.
int runIndex(const IndexOptions& options);

}  // namespace orvel::host
