#include "cli/IndexCommand.h"

#include <orvel/Settings.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/IndexRun.h"
#include "cli/JsonReport.h"
#include "cli/JsonText.h"
#include "cli/LogOutput.h"
#include "cli/Summary.h"

namespace orvel::host {

namespace {

LogLevel logThreshold(const IndexOptions& options) {
  if (options.quiet) return LogLevel::Error;
  const int wanted = static_cast<int>(LogLevel::Warning) + options.verbosity;
  return static_cast<LogLevel>(std::min(wanted, static_cast<int>(LogLevel::Verbose)));
}

/// Where the tag reader is beside this program: in its build folder, or where both were installed
/// together. Empty: where it was to be installed.
std::string tagReaderNearby() {
  namespace fs = std::filesystem;
  const fs::path folder = QCoreApplication::applicationDirPath().toStdString();
  for (const char* where : {".", ORVEL_LIBEXEC_FROM_BIN}) {
    const fs::path program = (folder / where / "orvel-tag-reader").lexically_normal();
    if (access(program.c_str(), X_OK) == 0) return program;
  }
  return {};
}

Settings settingsFor(const IndexOptions& options) {
  Settings settings;
  settings.databaseDirectory = options.databaseFolder;
  if (options.background) settings.workPriority = WorkPriority::Background;
  if (!options.inProcess) settings.tagReading = TagReading::Isolated;
  settings.tagReaderProgram = tagReaderNearby();
  settings.logThreshold = logThreshold(options);
  return settings;
}

/// One object for a device that was named, an array for those that were found.
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
  if (!std::cout) throw HostError(CouldNotRun, "The result of the run cannot be written.");
}

}  // namespace

int runIndex(const IndexOptions& options) {
  // A reader of the progress that goes away must not end the run.
  std::signal(SIGPIPE, SIG_IGN);
  std::vector<IndexResult> results;
  {
    ProgressLine line(!options.quiet);
    const LogOutput log(line, settingsFor(options));
    results = IndexRun(options, line).run();
  }
  report(options, results);
  return exitStatusOf(results);
}

}  // namespace orvel::host
