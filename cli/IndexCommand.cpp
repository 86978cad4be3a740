#include "cli/IndexCommand.h"

#include <algorithm>
#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "base/Log.h"
#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/IndexRun.h"
#include "cli/JsonReport.h"
#include "cli/JsonText.h"
#include "cli/LogOutput.h"
#include "cli/Summary.h"

namespace orvel::cli {

namespace {

int logThreshold(const IndexOptions& options) {
  if (options.quiet) return LOG_ERROR;
  return std::min<int>(LOG_WARN + options.verbosity, LOG_VERBOSE);
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
      std::cerr << "orvel: " << displayText(*result.error) << std::endl;
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
  std::vector<IndexResult> results;
  {
    ProgressLine line(!options.quiet);
    const LogOutput log(line, logThreshold(options));
    results = IndexRun(options, line).run();
  }
  report(options, results);
  return exitStatusOf(results);
}

}  // namespace orvel::cli
