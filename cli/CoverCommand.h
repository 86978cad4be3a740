#pragma once

#include "cli/CommandLine.h"

namespace CLI {
class App;
}

namespace orvel::cli {

/// Adds `orvel cover` to the command line.
void addCover(CLI::App& app, Command& command);

}  // namespace orvel::cli
