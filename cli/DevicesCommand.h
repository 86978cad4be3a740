#pragma once

#include "cli/CommandLine.h"

namespace CLI {
class App;
}

namespace orvel::cli {

/// Adds `orvel devices` to the command line.
void addDevices(CLI::App& app, Command& command);

}  // namespace orvel::cli
