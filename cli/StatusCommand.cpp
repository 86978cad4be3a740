#include "cli/StatusCommand.h"

#include <orvel/Settings.h>

#include <QJsonArray>
#include <iomanip>
#include <iostream>
#include <map>

#include "browse/MediaDatabase.h"
#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/JsonReport.h"
#include "cli/JsonText.h"
#include "cli/KnownDevices.h"
#include "cli/OwnOutput.h"
#include "cli/Summary.h"
#include "cli/commandOptions.h"

namespace orvel::cli {

namespace {

struct StatusOptions {
  std::string databaseFolder;
  bool json = false;
};

/// A database, with its device and its contents if it can be read.
struct DatabaseStatus {
  std::string file;
  std::string error;
  KnownDevice device;
  std::optional<browse::Totals> totals;
};

std::vector<DatabaseStatus> statusesIn(const std::string& folder) {
  std::map<std::string, KnownDevice> known;
  for (KnownDevice& device : knownDevices(folder)) {
    known[device.database] = std::move(device);
  }
  std::vector<DatabaseStatus> statuses;
  for (const std::string& file : browse::databasesIn(folder)) {
    DatabaseStatus status{file, "", known[file], std::nullopt};
    try {
      status.totals = browse::MediaDatabase(file).totals();
    } catch (const browse::DatabaseError& error) {
      status.error = error.what();
    }
    statuses.push_back(std::move(status));
  }
  return statuses;
}

void printSize(const std::string& file) {
  const std::int64_t bytes = browse::databaseBytes(file);
  const double share =
      100.0 * static_cast<double>(bytes) / static_cast<double>(Limits().databaseBytes);
  std::cout << "  Size       " << readableSize(bytes) << ", " << std::fixed << std::setprecision(1)
            << share << " % of the limit of " << readableSize(Limits().databaseBytes) << "\n";
}

void print(const DatabaseStatus& status) {
  const KnownDevice& device = status.device;
  if (status.error.empty()) {
    std::cout << displayText(device.label) << "\n  Device     " << displayText(device.id)
              << "\n  Indexed    " << readableTime(device.lastIndexed) << "\n";
    for (const browse::StoredPartition& partition : device.partitions) {
      std::cout << "  Partition  " << displayText(partition.mountPoint) << "  "
                << (partition.status.empty() ? "not indexed yet" : displayText(partition.status))
                << "\n";
    }
    std::cout << "  Content    " << readableTotals(*status.totals) << "\n";
  } else {
    std::cout << displayText(status.error) << "\n";
  }
  std::cout << "  Database   " << displayText(status.file) << "\n";
  printSize(status.file);
}

QJsonObject jsonOf(const DatabaseStatus& status) {
  QJsonArray partitions;
  for (const browse::StoredPartition& partition : status.device.partitions) {
    partitions.append(QJsonObject{{"mount_point", jsonString(partition.mountPoint)},
                                  {"status", jsonString(partition.status)}});
  }
  return {{"device_id", jsonTextOrNull(status.device.id)},
          {"label", jsonTextOrNull(status.device.label)},
          {"database", jsonString(status.file)},
          {"database_bytes", static_cast<qint64>(browse::databaseBytes(status.file))},
          {"limit_bytes", static_cast<qint64>(Limits().databaseBytes)},
          {"error", jsonTextOrNull(status.error)},
          {"partitions", partitions},
          {"totals", jsonTotals(status.totals)}};
}

int runStatus(const StatusOptions& options) {
  const std::vector<DatabaseStatus> statuses = statusesIn(options.databaseFolder);
  if (options.json) {
    std::cout << jsonArray(statuses, jsonOf) << "\n";
  } else {
    if (statuses.empty()) {
      std::cout << "No device has been indexed into " << displayText(options.databaseFolder)
                << ".\n";
    }
    for (const DatabaseStatus& status : statuses) print(status);
  }
  finishOutput();
  return Done;
}

}  // namespace

void addStatus(CLI::App& app, Command& command) {
  const auto options = std::make_shared<StatusOptions>();
  CLI::App& verb = addCommand(app, "status", "Print the contents and the status of every database",
                              options, runStatus, command);
  verb.add_flag("--json", options->json, "Print one JSON array with an object for each");
  addDatabaseFolder(verb, options->databaseFolder);
}

}  // namespace orvel::cli
