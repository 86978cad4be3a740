#include "cli/IndexCommand.h"

#include <orvel/Settings.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "cli/ExitStatus.h"
#include "cli/IndexRun.h"
#include "cli/JsonReport.h"
#include "cli/JsonText.h"
#include "cli/LogOutput.h"
#include "cli/OwnOutput.h"
#include "cli/Summary.h"
#include "host/tagReaderNearby.h"

namespace orvel::cli {

namespace {

constexpr const char* kDltApplicationId = "ORVL";

LogLevel logThreshold(const IndexOptions& options) {
  if (options.quiet) return LogLevel::Error;
  const int wanted = static_cast<int>(LogLevel::Warning) + options.verbosity;
  return static_cast<LogLevel>(std::min(wanted, static_cast<int>(LogLevel::Verbose)));
}

Settings settingsFor(const IndexOptions& options) {
  Settings settings;
  settings.databaseDirectory = options.databaseFolder;
  if (options.background) settings.workPriority = WorkPriority::Background;
  if (!options.inProcess) settings.tagReading = TagReading::Isolated;
  if (options.requireIsolation) settings.tagReading = TagReading::IsolationRequired;
  settings.tagReaderProgram = host::tagReaderNearby();
  settings.logThreshold = logThreshold(options);
  if (options.log == IndexOptions::Log::Dlt) settings.dltApplicationId = kDltApplicationId;
  settings.acrossDevices = options.acrossDevices;
  return settings;
}

/// Prints one object for a device that the user named, and an array for the attached phones.
void printJson(const IndexOptions& options, const std::vector<IndexResult>& results) {
  std::vector<std::string> reports;
  reports.reserve(results.size());
  for (const IndexResult& result : results) reports.push_back(jsonReport(result));
  const bool isArray = options.isPhone && !options.serial;
  std::cout << (isArray ? jsonArray(reports) : reports.front()) << std::endl;
}

void report(const IndexOptions& options, const std::vector<IndexResult>& results) {
  for (const IndexResult& result : results) {
    if (result.error) {
      printError(*result.error);
    } else if (!options.json && !options.quiet) {
      std::cout << summary(result) << std::flush;
    }
  }
  if (options.json) printJson(options, results);
  if (!std::cout) throw CommandError(CouldNotRun, "The result of the run cannot be written.");
}

}  // namespace

int runIndex(const IndexOptions& options) {
  // The run must survive a reader of the progress that exits.
  std::signal(SIGPIPE, SIG_IGN);
  if (options.isPhone) divertLibmtp(options.verbosity > 0);
  std::vector<IndexResult> results;
  {
    ProgressLine line(!options.quiet);
    const LogOutput log(line, settingsFor(options));
    results = IndexRun(options, line).run();
  }
  report(options, results);
  return exitStatusOf(results);
}

}  // namespace orvel::cli
