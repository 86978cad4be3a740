#pragma once

#include "cli/CommandLine.h"

namespace CLI {
class App;
}

namespace orvel::cli {

/// Adds `orvel status` to the command line.
void addStatus(CLI::App& app, Command& command);

}  // namespace orvel::cli
