#pragma once

#include "cli/CommandLine.h"

namespace orvel::host {

/// `orvel mtp list`: returns the exit status; throws HostError.
int runMtpList(const MtpListOptions& options);

}  // namespace orvel::host
