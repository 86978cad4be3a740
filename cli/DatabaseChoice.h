#pragma once

#include <optional>
#include <string>

#include "cli/commandOptions.h"

namespace orvel::cli {

/// The database that a command reads: of a device, a file, or the only one in a folder.
struct DatabaseChoice {
  std::optional<std::string> device;
  std::optional<std::string> file;
  std::string folder;

  /// The path of the database. Throws CommandError, which lists the devices, when it is not clear.
  [[nodiscard]] std::string path() const;
};

/// Adds the options of the choice to a command.
void addDatabaseChoice(CLI::App& verb, DatabaseChoice& choice);

}  // namespace orvel::cli
