#pragma once

#include "cli/CommandLine.h"

namespace CLI {
class App;
}

namespace orvel::cli {

/// Adds `orvel index` to the command line.
void addIndex(CLI::App& app, Command& command);

}  // namespace orvel::cli
