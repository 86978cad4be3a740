#pragma once

#include "cli/CommandLine.h"

namespace CLI {
class App;
}

namespace orvel::cli {

/// Adds `orvel forget` to the command line.
void addForget(CLI::App& app, Command& command);

}  // namespace orvel::cli
