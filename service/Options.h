#pragma once

#include <gio/gio.h>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

namespace orvel::service {

/// The command line of `orveld`.
struct Options {
  GBusType bus = G_BUS_TYPE_SESSION;
  std::optional<std::string> configurationFile;
  std::optional<std::string> databaseFolder;
  bool mountMedia = false;
  std::optional<std::chrono::seconds> idleExit;
  bool printVersion = false;
};

/// A command line that cannot be understood.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Parses the command line; `--help` prints it and ends the process. Throws UsageError.
Options parseOptions(int argc, char** argv);

}  // namespace orvel::service
