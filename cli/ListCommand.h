#pragma once

#include "cli/CommandLine.h"

namespace CLI {
class App;
}

namespace orvel::cli {

/// Adds `orvel list` to the command line.
void addList(CLI::App& app, Command& command);

}  // namespace orvel::cli
