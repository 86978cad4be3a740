#pragma once

#include "cli/CommandLine.h"

namespace orvel::cli {

/// `orvel mtp list`: returns the exit status; throws CommandError.
int runMtpList(const MtpListOptions& options);

}  // namespace orvel::cli
