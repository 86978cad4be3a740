#include "cli/IndexCommand.h"

#include <orvel/Settings.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "cli/ExitStatus.h"
#include "cli/IndexOptions.h"
#include "cli/IndexRun.h"
#include "cli/JsonReport.h"
#include "cli/JsonText.h"
#include "cli/LogOutput.h"
#include "cli/OwnOutput.h"
#include "cli/Summary.h"
#include "cli/commandOptions.h"
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
  const bool isArray = options.isPhone && options.operands.empty();
  std::cout << (isArray ? jsonArray(results, jsonReport) : jsonLine(jsonReport(results.front())))
            << std::endl;
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

void requireOperands(const IndexOptions& options) {
  const std::size_t count = options.operands.size();
  if (!options.isPhone && count == 0) throw UsageError("No mount point was named.");
  if (options.isPhone && count > 1) {
    throw UsageError("Give one serial number, or none for all attached devices.");
  }
}

int runIndex(const IndexOptions& options) {
  requireOperands(options);
  // The run must survive a reader of the progress that exits.
  std::signal(SIGPIPE, SIG_IGN);
  if (options.isPhone) divertLibmtp(options.verbosity > 0);
  std::vector<IndexResult> results;
  {
    ProgressLine line(!options.quiet);
    const LogOutput log(line, settingsFor(options), options.verbosity == 0);
    results = IndexRun(options, line).run();
  }
  report(options, results);
  return exitStatusOf(results);
}

/// Where and how to index.
void addWork(CLI::App& verb, IndexOptions& options) {
  CLI::Option* const mtp = verb.add_flag(
      "--mtp", options.isPhone, "Index the attached phone of this name, or all\nattached phones");
  addSeconds(verb, "--wait SECONDS", "Wait so long for a locked phone; default: 60",
             options.storageWait)
      ->needs(mtp);
  addScripted(verb, options.scriptedFile)->needs(mtp);
  addText(verb, "--device-id ID",
          "Name of the device; default: the UUID of the file\nsystem or the path; for a phone its"
          " vendor, product\nand serial number",
          options.deviceId);
  addDatabaseFolder(verb, options.databaseFolder);
  CLI::Option* const inProcess =
      verb.add_flag("--in-process", options.inProcess,
                    "Read a stick's tags in this process, where a broken\nfile can end the run");
  verb.add_flag("--require-isolation", options.requireIsolation,
                "Leave songs undone where tags cannot be read in a\nfully confined process")
      ->excludes(inProcess);
  verb.add_flag("--across-devices", options.acrossDevices,
                "Follow links and mounts to other file systems. For\nyour own folders, not for a"
                " stranger's stick");
  verb.add_flag(
      "--allow-empty", options.allowEmpty,
      "Index an empty mount point; without it the command\nasks, or refuses where it cannot");
  verb.add_flag("--background", options.background,
                "Use only processor time and device time that nobody\nelse needs");
}

void addOutput(CLI::App& verb, IndexOptions& options) {
  static const std::map<std::string, IndexOptions::Log> logs = {
      {"stderr", IndexOptions::Log::StandardError}, {"dlt", IndexOptions::Log::Dlt}};
  verb.add_flag("--json", options.json, "Print one JSON object at the end");
  verb.add_flag("-q,--quiet", options.quiet, "Print errors only");
  verb.add_flag("-v,--verbose", options.verbosity,
                "Print all warnings and what the indexer does; -vv and\n-vvv print more");
  addChoice(verb, "--log WHERE",
            "Where messages go: stderr, the default, or dlt\n(Diagnostic Log and Trace)", logs,
            options.log);
}

}  // namespace

void addIndex(CLI::App& app, Command& command) {
  const auto options = std::make_shared<IndexOptions>();
  CLI::App& verb = addCommand(app, "index", "Read the songs, playlists and folders of a device",
                              options, runIndex, command);
  addOperands(
      verb, "MOUNT_POINT",
      "Where the partitions are mounted, or the label of a\nstick; with --mtp the name of a phone",
      options->operands);
  addWork(verb, *options);
  addOutput(verb, *options);
}

}  // namespace orvel::cli
