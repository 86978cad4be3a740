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
#include "cli/commandOptions.h"

namespace orvel::cli {

namespace {

struct ListOptions {
  browse::ListQuery query;
  std::optional<std::string> deviceId;
  std::optional<std::string> databaseFile;
  std::string databaseFolder;
  ListFormat::Kind format = ListFormat::Kind::Table;
};

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

void addFilters(CLI::App& verb, browse::ListQuery& query) {
  addText(verb, "--artist A", "Only entries with a song of this artist", query.artist);
  addText(verb, "--album B", "Only entries with a song of this album", query.album);
  addText(verb, "--genre G", "Only entries with a song of this genre", query.genre);
  addText(verb, "--playlist P", "Only songs in the playlist of this name or path, in\nits order",
          query.playlist);
  addText(verb, "--directory D", "Only songs in the directory of this path or name",
          query.directory);
}

}  // namespace

void addList(CLI::App& app, Command& command) {
  static const std::map<std::string, ListFormat::Kind> formats = {
      {"table", ListFormat::Kind::Table},
      {"tsv", ListFormat::Kind::Tsv},
      {"json", ListFormat::Kind::Json}};
  const auto options = std::make_shared<ListOptions>();
  CLI::App& verb = addCommand(
      app, "list", "Print songs, artists, albums, genres, composers, directories\nor playlists",
      options, runList, command);
  addChoice(verb, "KIND", "songs, artists, albums, genres, composers,\ndirectories or playlists",
            browse::listKinds(), options->query.kind)
      ->required();
  addFilters(verb, options->query);
  CLI::Option* const device =
      addText(verb, "--device-id ID", "The device whose database is read", options->deviceId);
  addText(verb, "--db FILE", "The database file", options->databaseFile)->excludes(device);
  addDatabaseFolder(verb, options->databaseFolder);
  addChoice(verb, "--format F", "table, tsv or json; default: table", formats, options->format);
}

}  // namespace orvel::cli
