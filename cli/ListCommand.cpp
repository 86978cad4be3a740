#include "cli/ListCommand.h"

#include <iostream>
#include <limits>

#include "browse/Pages.h"
#include "cli/DatabaseChoice.h"
#include "cli/ExitStatus.h"
#include "cli/ListColumns.h"
#include "cli/ListFormat.h"
#include "cli/OwnOutput.h"
#include "cli/PatternFormat.h"
#include "cli/commandOptions.h"

namespace orvel::cli {

namespace {

struct ListOptions {
  browse::ListQuery query;
  bool isExact = false;
  DatabaseChoice database;
  std::string format = "table";
  std::vector<std::string> columns;
  browse::PageRequest page{"", 0, std::numeric_limits<std::uint32_t>::max()};
  bool count = false;
  bool json = false;
};

ListColumns::Reader readerOf(ListFormat::Kind format) {
  if (format == ListFormat::Kind::Table) return ListColumns::Reader::People;
  return format == ListFormat::Kind::Tsv ? ListColumns::Reader::Tsv : ListColumns::Reader::Program;
}

/// The format of a listing with the columns that it prints.
struct Printer {
  ListColumns columns;
  std::unique_ptr<ListFormat> format;
};

Printer printerFor(const ListOptions& options, const browse::Listing& listing) {
  const auto named = listFormats().find(options.json ? "json" : options.format);
  const browse::ListKind kind = options.query.kind;
  if (named == listFormats().end()) {
    ListColumns all(kind, listing.columns, ListColumns::Reader::Pattern, {});
    return {all, std::make_unique<PatternFormat>(options.format, listing.columns, std::cout)};
  }
  ListColumns chosen(kind, listing.columns, readerOf(named->second), options.columns);
  return {chosen, ListFormat::make(named->second, chosen.columns(), std::cout, outputColumns())};
}

/// Returns the number of printed rows.
std::uint32_t printRows(const ListOptions& options, const browse::MediaDatabase& database,
                        const browse::Listing& listing) {
  const std::string statement = browse::pageStatement(listing, options.page);
  Printer printer = printerFor(options, listing);
  std::uint32_t rows = 0;
  database.query(statement, listing.parameters, [&](const browse::Row& row) {
    printer.format->row(printer.columns.of(row));
    ++rows;
    return true;
  });
  if (rows != 0 || options.json || options.format == "json") printer.format->end();
  return rows;
}

/// Returns the number of rows.
std::uint32_t printCount(const ListOptions& options, const browse::MediaDatabase& database,
                         const browse::Listing& listing) {
  const std::uint32_t rows = browse::countRows(database, listing);
  if (options.json) {
    std::cout << "{\"count\":" << rows << "}\n";
  } else {
    std::cout << rows << '\n';
  }
  return rows;
}

std::string nothingFound(const ListOptions& options) {
  const std::string& kind = browse::nameOf(options.query.kind);
  if (!options.query.hasFilter()) return "There are no " + kind + ".";
  return "No " + kind + " match." +
         (options.isExact ? " Without --exact a beginning of each name is enough." : "");
}

void requireFormat(const ListOptions& options) {
  const bool isNamed = listFormats().contains(options.format);
  if (!isNamed && options.format.find('%') == std::string::npos) {
    throw UsageError("'" + options.format +
                     "' is no format. Give table, tsv, json or a pattern such as"
                     " '%artist% - %title%'.");
  }
  if (!isNamed && !options.columns.empty()) {
    throw UsageError("Give --columns or a pattern, not both.");
  }
}

int runList(const ListOptions& options) try {
  requireFormat(options);
  std::ios::sync_with_stdio(false);
  const browse::MediaDatabase database(options.database.path());
  browse::ListQuery query = options.query;
  if (options.isExact) query.match = browse::Match::Exact;
  const browse::Listing listing = browse::listingFor(query);
  const std::uint32_t rows = options.count ? printCount(options, database, listing)
                                           : printRows(options, database, listing);
  finishOutput();
  if (rows == 0) printError(nothingFound(options));
  return rows == 0 ? CouldNotRun : Done;
} catch (const std::invalid_argument& error) {
  throw UsageError(error.what());
}

void addFilters(CLI::App& verb, ListOptions& options) {
  browse::ListQuery& query = options.query;
  query.match = browse::Match::Beginning;
  addText(verb, "--artist NAME", "Only entries with a song of this artist", query.artist);
  addText(verb, "--album NAME", "... of this album", query.album);
  addText(verb, "--genre NAME", "... of this genre", query.genre);
  addText(verb, "--composer NAME", "... by this composer", query.composer);
  addText(verb, "--playlist NAME", "... in this playlist; songs come in its order", query.playlist);
  addText(verb, "--directory NAME", "... in this folder", query.directory);
  verb.add_flag("--exact", options.isExact,
                "A NAME is the whole name in its case. Without it\nthe beginning is enough; case"
                " and accents do not\nmatter. A path is always whole");
}

void addOutput(CLI::App& verb, ListOptions& options) {
  verb.add_option("--columns", options.columns, "Names of columns with commas between them")
      ->type_name("NAMES")
      ->delimiter(',')
      ->allow_extra_args(false);
  verb.add_option("--sort", options.page.sort,
                  "Column to sort by; with '-' before it the other way\nround")
      ->type_name("COLUMN");
  verb.add_option("--limit", options.page.count, "Print at most so many rows")->type_name("N");
  verb.add_option("--format", options.format,
                  "table, tsv, json or a pattern, such as\n'%artist% - %title%'; default: table")
      ->type_name("FORMAT");
  verb.add_flag("--json", options.json, "The same as --format json");
  verb.add_flag("--count", options.count, "Print the number of rows only");
}

}  // namespace

void addList(CLI::App& app, Command& command) {
  const auto options = std::make_shared<ListOptions>();
  CLI::App& verb = addCommand(app, "list", "Print songs, artists, albums and so on of a device",
                              options, runList, command);
  addChoice(verb, "KIND", "songs, artists, albums, genres, composers,\ndirectories or playlists",
            browse::listKinds(), options->query.kind)
      ->required();
  addFilters(verb, *options);
  addOutput(verb, *options);
  addDatabaseChoice(verb, options->database);
}

}  // namespace orvel::cli
