#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "cli/ListQuery.h"

namespace orvel::cli {

/// `orvel index`.
struct IndexOptions {
  std::vector<std::string> mountPoints;  ///< as given; none for phones
  bool isPhone = false;
  std::optional<std::string> serial;  ///< of the phone; without it all that are attached
  std::optional<std::string> scriptedFile;
  std::chrono::seconds storageWait{60};  ///< how long a locked phone is waited for
  std::optional<std::string> deviceId;
  std::string databaseFolder;
  bool inProcess = false;   ///< tags are read in this process
  bool background = false;  ///< with idle priority
  bool json = false;
  bool quiet = false;
  int verbosity = 0;  ///< how often -v was given
};

/// `orvel mtp list`.
struct MtpListOptions {
  bool json = false;
  std::optional<std::string> scriptedFile;
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

using Command = std::variant<IndexOptions, MtpListOptions, ListOptions, StatusOptions, PrintedText>;

/// Reads the command line; an application object must exist. Throws CommandError (WrongUsage).
Command parseCommandLine(int argumentCount, const char* const* arguments);

}  // namespace orvel::cli
