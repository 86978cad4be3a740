#include "cli/StatusCommand.h"

#include <orvel/Settings.h>

#include <iomanip>
#include <iostream>

#include "browse/MediaDatabase.h"
#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/Summary.h"
#include "cli/commandOptions.h"

namespace orvel::cli {

namespace {

struct StatusOptions {
  std::string databaseFolder;
};

void printSize(const std::string& file) {
  const std::int64_t bytes = browse::databaseBytes(file);
  const double share =
      100.0 * static_cast<double>(bytes) / static_cast<double>(Limits().databaseBytes);
  std::cout << "  Size       " << readableSize(bytes) << ", " << std::fixed << std::setprecision(1)
            << share << " % of the limit of " << readableSize(Limits().databaseBytes) << "\n";
}

/// Prints one database. For an unreadable one it prints the reason, so that the others still
/// follow.
void print(const std::string& file) {
  std::cout << displayText(file) << "\n";
  try {
    const browse::MediaDatabase database(file);
    const std::string device = database.deviceId();
    if (!device.empty()) std::cout << "  Device     " << displayText(device) << "\n";
    for (const browse::StoredPartition& partition : database.partitions()) {
      std::cout << "  Partition  " << displayText(partition.mountPoint) << "  "
                << (partition.status.empty() ? "not indexed yet" : displayText(partition.status))
                << "\n";
    }
    std::cout << "  Content    " << readableTotals(database.totals()) << "\n";
  } catch (const browse::DatabaseError& error) {
    std::cout << "  " << displayText(error.what()) << "\n";
  }
  printSize(file);
}

int runStatus(const StatusOptions& options) {
  const std::vector<std::string> databases = browse::databasesIn(options.databaseFolder);
  if (databases.empty()) {
    std::cout << "No device has been indexed into " << displayText(options.databaseFolder) << ".\n";
  }
  for (const std::string& database : databases) print(database);
  std::cout.flush();
  return Done;
}

}  // namespace

void addStatus(CLI::App& app, Command& command) {
  const auto options = std::make_shared<StatusOptions>();
  CLI::App& verb =
      addCommand(app, "status", "Print the contents and the status of every indexed device",
                 options, runStatus, command);
  addDatabaseFolder(verb, options->databaseFolder);
}

}  // namespace orvel::cli
