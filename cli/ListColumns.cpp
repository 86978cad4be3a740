#include "cli/ListColumns.h"

#include <algorithm>
#include <map>
#include <utility>

#include "cli/ExitStatus.h"

namespace orvel::cli {

namespace {

using browse::ListKind;
using Reader = ListColumns::Reader;

std::vector<std::string> usualNames(ListKind kind, const std::vector<browse::Column>& columns,
                                    Reader reader) {
  if (reader == Reader::People && kind == ListKind::Songs) {
    return {"title", "artist", "album", "track"};
  }
  const bool takesAll = reader == Reader::Pattern || reader == Reader::Program;
  std::vector<std::string> names;
  for (const browse::Column& column : columns) {
    const bool isSortForm = std::string_view(column.name) == "sort";
    if (takesAll || (column.everywhere && !(isSortForm && reader == Reader::People)))
      names.emplace_back(column.name);
  }
  return names;
}

/// The text for an empty name; null where a blank is right.
const char* unknownName(ListKind kind, const std::string& column) {
  static const std::map<std::string, const char*> ofColumns = {{"artist", "Unknown artist"},
                                                               {"album", "Unknown album"},
                                                               {"genre", "Unknown genre"},
                                                               {"composer", "Unknown composer"}};
  static const std::map<ListKind, const char*> ofKinds = {{ListKind::Artists, "artist"},
                                                          {ListKind::Albums, "album"},
                                                          {ListKind::Genres, "genre"},
                                                          {ListKind::Composers, "composer"}};
  const auto ofKind = ofKinds.find(kind);
  const bool isOwnName = column == "name" && ofKind != ofKinds.end();
  const auto found = ofColumns.find(isOwnName ? ofKind->second : column);
  return found == ofColumns.end() ? nullptr : found->second;
}

bool isUnknownAtZero(const std::string& column) {
  return column == "track" || column == "disc" || column == "year" || column == "duration";
}

bool isBlank(const browse::Cell& cell) {
  const auto* const text = std::get_if<std::string_view>(&cell);
  return text == nullptr ? std::holds_alternative<std::monostate>(cell) : text->empty();
}

}  // namespace

std::size_t columnNamed(const std::string& name, const std::vector<browse::Column>& columns) {
  const auto found = std::find_if(columns.begin(), columns.end(),
                                  [&](const browse::Column& known) { return name == known.name; });
  if (found != columns.end()) return static_cast<std::size_t>(found - columns.begin());
  std::string names;
  for (const browse::Column& known : columns)
    names += (names.empty() ? "" : ", ") + std::string(known.name);
  throw UsageError("There is no column '" + name + "'. There are: " + names + ".");
}

ListColumns::ListColumns(browse::ListKind listKind, std::vector<browse::Column> known,
                         Reader whoReads, const std::vector<std::string>& wanted)
    : kind(listKind), all(std::move(known)), reader(whoReads) {
  for (const std::string& name : wanted.empty() ? usualNames(kind, all, reader) : wanted) {
    places.push_back(columnNamed(name, all));
    shown.push_back(all[places.back()]);
  }
}

const browse::Row& ListColumns::of(const browse::Row& row) {
  cells.clear();
  for (const std::size_t place : places) {
    cells.push_back(filledIn(row, place));
  }
  return cells;
}

browse::Cell ListColumns::filledIn(const browse::Row& row, std::size_t place) const {
  const browse::Cell& cell = row[place];
  if (reader == Reader::Tsv || reader == Reader::Program) return cell;
  const std::string name = all[place].name;
  if (cell == browse::Cell(std::int64_t{0}) && isUnknownAtZero(name)) return {};
  if (!isBlank(cell)) return cell;
  if (name == "title") return row[columnNamed("name", all)];
  if (reader == Reader::Pattern) return cell;
  const char* const unknown = unknownName(kind, name);
  return unknown == nullptr ? cell : browse::Cell(std::string_view(unknown));
}

}  // namespace orvel::cli
