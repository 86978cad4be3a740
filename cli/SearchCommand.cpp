#include "cli/SearchCommand.h"

#include <algorithm>
#include <iostream>
#include <set>

#include "browse/Search.h"
#include "cli/DatabaseChoice.h"
#include "cli/ExitStatus.h"
#include "cli/JsonFormat.h"
#include "cli/ListColumns.h"
#include "cli/OwnOutput.h"
#include "cli/TableFormat.h"
#include "cli/commandOptions.h"

namespace orvel::cli {

namespace {

using browse::ListKind;
using Reader = ListColumns::Reader;

struct SearchOptions {
  std::vector<std::string> words;
  std::vector<std::string> kinds;
  std::uint32_t limit = 50;
  DatabaseChoice database;
  bool json = false;
};

std::set<ListKind> kindsOf(const SearchOptions& options) {
  std::set<ListKind> kinds;
  for (const auto& [name, kind] : browse::listKinds()) {
    const auto& wanted = options.kinds;
    if (wanted.empty() || std::find(wanted.begin(), wanted.end(), name) != wanted.end()) {
      kinds.insert(kind);
    }
  }
  return kinds;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += word + " ";
  return text;
}

/// Prints the columns that all kinds share: the name and, for songs, artist and album.
class FoundTable {
 public:
  FoundTable()
      : table({{"found", browse::Column::Kind::Text},
               {"name", browse::Column::Kind::Text},
               {"artist", browse::Column::Kind::Text},
               {"album", browse::Column::Kind::Text}},
              std::cout, outputColumns()) {}

  void row(const char* kind, const std::vector<browse::Column>& columns, const browse::Row& row) {
    const ListKind listKind = browse::listKinds().at(kind);
    const bool isSong = listKind == ListKind::Songs;
    const std::vector<std::string> names =
        isSong ? std::vector<std::string>{"title", "artist", "album"}
               : std::vector<std::string>{"name"};
    ListColumns shown(listKind, columns, Reader::People, names);
    browse::Row cells = shown.of(row);
    const std::string one = oneOf(kind);
    cells.insert(cells.begin(), std::string_view(one));
    cells.resize(4);
    table.row(cells);
  }

  void end() { table.end(); }

 private:
  /// "song" of "songs"
  static std::string oneOf(const std::string& kind) {
    return kind == "directories" ? "directory" : kind.substr(0, kind.size() - 1);
  }

  TableFormat table;
};

std::uint32_t print(const SearchOptions& options, const browse::MediaDatabase& database,
                    const std::function<void(const char*, const std::vector<browse::Column>&,
                                             const browse::Row&)>& printRow) {
  return browse::search(database, joined(options.words), kindsOf(options), {"", 0, options.limit},
                        [&](const char* kind, const auto& columns, const browse::Row& row) {
                          printRow(kind, columns, row);
                          return true;
                        });
}

int runSearch(const SearchOptions& options) {
  if (options.words.empty()) throw UsageError("Name the words to search for.");
  std::ios::sync_with_stdio(false);
  const browse::MediaDatabase database(options.database.path());
  std::uint32_t total = 0;
  if (options.json) {
    JsonFormat json({}, std::cout);
    total = print(options, database, [&](const char* kind, const auto& columns, const auto& row) {
      json.row(columns, row, kind);
    });
    json.end();
  } else {
    FoundTable table;
    total = print(options, database, [&](const char* kind, const auto& columns, const auto& row) {
      table.row(kind, columns, row);
    });
    if (total != 0) table.end();
  }
  finishOutput();
  if (total == 0) printError("Nothing has all of these words.");
  if (total > options.limit && !options.json) {
    printError(std::to_string(options.limit) + " of " + std::to_string(total) +
               " are shown. --limit shows more.");
  }
  return total == 0 ? CouldNotRun : Done;
}

}  // namespace

void addSearch(CLI::App& app, Command& command) {
  const auto options = std::make_shared<SearchOptions>();
  CLI::App& verb =
      addCommand(app, "search", "Find songs and names by words", options, runSearch, command);
  addOperands(
      verb, "WORD",
      "A word or its beginning; case and accents do not\nmatter. What has all words is found",
      options->words);
  verb.add_option("--kind", options->kinds,
                  "songs, artists, albums, genres, composers,\ndirectories or playlists, with"
                  " commas between them")
      ->type_name("KINDS")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember(&browse::listKinds()).description(""));
  verb.add_option("--limit", options->limit, "Print at most so many; default: 50")->type_name("N");
  verb.add_flag("--json", options->json, "Print one JSON array with an object for each");
  addDatabaseChoice(verb, options->database);
}

}  // namespace orvel::cli
