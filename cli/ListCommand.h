#pragma once

#include "cli/CommandLine.h"

namespace orvel::cli {

/// `orvel list`: returns the exit status; throws CommandError.
int runList(const ListOptions& options);

}  // namespace orvel::cli
