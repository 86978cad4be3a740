#include "cli/ForgetCommand.h"

#include <orvel/DatabaseMgr.h>
#include <orvel/Settings.h>

#include <filesystem>
#include <iostream>

#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/JsonText.h"
#include "cli/KnownDevices.h"
#include "cli/OwnOutput.h"
#include "cli/commandOptions.h"

namespace orvel::cli {

namespace {

struct ForgetOptions {
  std::optional<std::string> device;
  std::string databaseFolder;
  bool json = false;
};

void deleteDatabaseOf(const KnownDevice& device, const std::string& folder) {
  Settings settings;
  settings.databaseDirectory = folder;
  configure(settings);
  DatabaseMgr& databases = DatabaseMgr::instance();
  if (databases.getDbNameFromDevId(device.id) != device.database) {
    throw CommandError(CouldNotRun, device.database +
                                        " does not bear the name of its device. If it"
                                        " is no longer needed, delete it yourself.");
  }
  databases.deleteDb(device.id);
  std::error_code ignored;
  if (std::filesystem::exists(device.database, ignored)) {
    throw CommandError(
        CouldNotRun, device.database + " cannot be deleted. Change the permissions of its folder.");
  }
}

int runForget(const ForgetOptions& options) {
  if (!options.device) throw UsageError("Name the device to forget.");
  const KnownDevice device = knownDevice(*options.device, options.databaseFolder);
  deleteDatabaseOf(device, options.databaseFolder);
  if (options.json) {
    std::cout << jsonLine({{"device_id", jsonString(device.id)},
                           {"database", jsonString(device.database)}})
              << "\n";
  } else {
    std::cout << "Forgot " << displayText(device.label) << " and deleted "
              << displayText(device.database) << "\n";
  }
  finishOutput();
  return Done;
}

}  // namespace

void addForget(CLI::App& app, Command& command) {
  const auto options = std::make_shared<ForgetOptions>();
  CLI::App& verb =
      addCommand(app, "forget", "Delete the database of a device", options, runForget, command);
  addText(verb, "DEVICE", "Its label, mount point or the beginning of its id", options->device);
  verb.add_flag("--json", options->json, "Print its id and the path that was deleted");
  addDatabaseFolder(verb, options->databaseFolder);
}

}  // namespace orvel::cli
