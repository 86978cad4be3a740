#include "cli/DatabaseChoice.h"

#include <vector>

#include "cli/ExitStatus.h"
#include "cli/KnownDevices.h"
#include "cli/MountPoint.h"

namespace orvel::cli {

namespace {

std::string onlyDatabaseIn(const std::string& folder) {
  const std::vector<std::string> databases = browse::databasesIn(folder);
  if (databases.size() == 1) return databases.front();
  if (databases.empty()) {
    throw CommandError(WrongUsage,
                       "There is no database in " + folder +
                           ". Run 'orvel index' first, or name its folder with --db-dir.");
  }
  std::vector<NamedDevice> names;
  for (const KnownDevice& device : knownDevices(folder)) names.push_back(namesOf(device));
  throw CommandError(WrongUsage,
                     "Several devices are known: " + listed(names) + ". Name one with --device.");
}

}  // namespace

std::string DatabaseChoice::path() const {
  if (file) return cleanPath(*file);
  return device ? knownDevice(*device, folder).database : onlyDatabaseIn(folder);
}

void addDatabaseChoice(CLI::App& verb, DatabaseChoice& choice) {
  CLI::Option* const device =
      addText(verb, "-d,--device DEVICE",
              "The device: its label, mount point or the beginning\nof its id", choice.device);
  CLI::Option* const id = addText(verb, "--device-id ID", "", choice.device)->group("");
  addText(verb, "--db FILE", "The database file", choice.file)->excludes(device)->excludes(id);
  addDatabaseFolder(verb, choice.folder);
}

}  // namespace orvel::cli
