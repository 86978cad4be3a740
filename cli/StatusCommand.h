#pragma once

#include "cli/CommandLine.h"

namespace orvel::cli {

/// `orvel status`: returns the exit status; throws CommandError.
int runStatus(const StatusOptions& options);

}  // namespace orvel::cli
