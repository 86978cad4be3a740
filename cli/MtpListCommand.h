#pragma once

#include "cli/CommandLine.h"

namespace CLI {
class App;
}

namespace orvel::cli {

/// Adds `orvel mtp list` to the command line.
void addMtp(CLI::App& app, Command& command);

}  // namespace orvel::cli
