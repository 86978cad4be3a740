#pragma once

#include <functional>

namespace orvel::cli {

/// The work that a command line asks for: returns the exit status; throws CommandError.
using Command = std::function<int()>;

/// Parses the command line; an application object must exist. Throws CommandError (WrongUsage).
Command parseCommandLine(int argumentCount, const char* const* arguments);

}  // namespace orvel::cli
