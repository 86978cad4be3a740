#pragma once

#include <stdexcept>
#include <string>

namespace orvel::cli {

/// Exit statuses of the command. An interrupted run ends with 128 plus the signal's number.
enum ExitStatus : int {
  Done = 0,           ///< finished; after indexing: status OK
  CouldNotRun = 1,    ///< standard error names the reason and the remedy
  WrongUsage = 2,     ///< the command line is invalid
  LeftWorkUndone = 3  ///< indexing ended with status PROGRESS
};

/// Ends a command early; its text is for people and names a remedy.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitStatus exitStatus, const std::string& text)
      : std::runtime_error(text), status(exitStatus) {}

  ExitStatus status;
};

/// A command line that makes no sense.
class UsageError : public CommandError {
 public:
  explicit UsageError(const std::string& reason)
      : CommandError(WrongUsage, reason + " 'orvel --help' shows how the command is used.") {}
};

}  // namespace orvel::cli
