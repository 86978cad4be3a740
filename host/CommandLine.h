#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/ListQuery.h"

namespace orvel::host {

/// `orvel index`.
struct IndexOptions {
  std::vector<std::string> mountPoints;  ///< as given
  std::optional<std::string> deviceId;
  std::string databaseFolder;
  bool inProcess = false;  ///< tags are read in this process
  bool json = false;
  bool quiet = false;
  int verbosity = 0;  ///< how often -v was given
};

/// `orvel list`.
struct ListOptions {
  enum class Format { Table, Tsv, Json };

  ListQuery query;
  std::optional<std::string> deviceId;
  std::optional<std::string> databaseFile;
  std::string databaseFolder;
  Format format = Format::Table;
};

/// `orvel status`.
struct StatusOptions {
  std::string databaseFolder;
};

/// `--help` and `--version`: a text for standard output.
struct PrintedText {
  std::string text;
};

using Command = std::variant<IndexOptions, ListOptions, StatusOptions, PrintedText>;

/// Reads the command line; an application object must exist. Throws HostError (WrongUsage).
Command parseCommandLine(int argumentCount, const char* const* arguments);

}  // namespace orvel::host
