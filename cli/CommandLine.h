#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "browse/ListQuery.h"

namespace orvel::cli {

/// `orvel index`.
struct IndexOptions {
  enum class Log { StandardError, Dlt };

  std::vector<std::string> mountPoints;  ///< as given; none for phones
  bool isPhone = false;
  std::optional<std::string> serial;  ///< of the phone; none for all attached ones
  std::optional<std::string> scriptedFile;
  std::chrono::seconds storageWait{60};  ///< the longest wait for a locked phone
  std::optional<std::string> deviceId;
  std::string databaseFolder;
  bool inProcess = false;         ///< read tags in this process
  bool requireIsolation = false;  ///< leave songs undone rather than read them with less isolation
  bool acrossDevices = false;     ///< follow links and mounts to other file systems
  bool background = false;        ///< run with idle priority
  bool json = false;
  bool quiet = false;
  int verbosity = 0;  ///< number of -v options
  Log log = Log::StandardError;
};

/// `orvel mtp list`.
struct MtpListOptions {
  bool json = false;
  std::optional<std::string> scriptedFile;
};

/// `orvel list`.
struct ListOptions {
  enum class Format { Table, Tsv, Json };

  browse::ListQuery query;
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

/// Parses the command line; an application object must exist. Throws CommandError (WrongUsage).
Command parseCommandLine(int argumentCount, const char* const* arguments);

}  // namespace orvel::cli
