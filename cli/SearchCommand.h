#pragma once

#include "cli/CommandLine.h"

namespace CLI {
class App;
}

namespace orvel::cli {

/// Adds `orvel search` to the command line.
void addSearch(CLI::App& app, Command& command);

}  // namespace orvel::cli
