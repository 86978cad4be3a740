#pragma once

#include <stdexcept>
#include <string>

namespace orvel::cli {

/// Exit statuses of the command. An interrupted run ends with 128 plus the signal's number.
enum ExitStatus : int {
  Done = 0,           ///< finished; a run of the indexer with status OK
  CouldNotRun = 1,    ///< with the reason and the remedy on standard error
  WrongUsage = 2,     ///< the command line makes no sense
  LeftWorkUndone = 3  ///< the run of the indexer ended with status PROGRESS
};

/// Why a command ends early; the text is for people and names a remedy.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitStatus exitStatus, const std::string& text)
      : std::runtime_error(text), status(exitStatus) {}

  ExitStatus status;
};

}  // namespace orvel::cli
