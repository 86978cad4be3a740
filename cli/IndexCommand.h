#pragma once

#include "cli/CommandLine.h"

namespace orvel::cli {

/// `orvel index`: returns the exit status. Throws CommandError for wrong usage only.
int runIndex(const IndexOptions& options);

}  // namespace orvel::cli
