#include "cli/ListCommand.h"

#include <orvel/DatabaseMgr.h>
#include <orvel/Settings.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>

#include "browse/MediaDatabase.h"
#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/ListFormat.h"
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
  std::cerr << "orvel: There are several databases. Name one with --db or --device-id:\n";
  for (const std::string& database : databases) std::cerr << displayText(database) << '\n';
  throw CommandError(WrongUsage, "Nothing was listed; 'orvel status' tells more about each.");
}

std::string databaseFor(const ListOptions& options) {
  if (options.databaseFile) return cleanPath(*options.databaseFile);
  if (!options.deviceId) return onlyDatabaseIn(options.databaseFolder);
  Settings settings;
  settings.databaseDirectory = options.databaseFolder;
  configure(settings);
  return DatabaseMgr::instance().getDbNameFromDevId(*options.deviceId);
}

std::size_t outputColumns() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace

int runList(const ListOptions& options) {
  std::ios::sync_with_stdio(false);
  const browse::MediaDatabase database(databaseFor(options));
  const browse::Listing listing = browse::listingFor(options.query);
  const auto format = ListFormat::make(options.format, listing.columns, std::cout, outputColumns());
  database.query(listing.select + " ORDER BY " + listing.order, listing.parameters,
                 [&](const browse::Row& row) {
                   format->row(row);
                   return true;
                 });
  format->end();
  std::cout.flush();
  if (!std::cout) {
    throw CommandError(CouldNotRun, "The output cannot be written. Is the disk full?");
  }
  return Done;
}

}  // namespace orvel::cli
