#include "cli/PatternFormat.h"

#include <algorithm>

#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/ListColumns.h"

namespace orvel::cli {

namespace {

char takeEscaped(std::string_view& rest) {
  rest.remove_prefix(1);
  if (rest.empty()) throw UsageError("The pattern ends with a backslash.");
  const char c = rest.front();
  rest.remove_prefix(1);
  if (c == 't') return '\t';
  return c == 'n' ? '\n' : c;
}

}  // namespace

PatternFormat::Piece PatternFormat::takeColumn(std::string_view& rest,
                                               const std::vector<browse::Column>& columns) {
  const std::size_t end = rest.find('%', 1);
  if (end == std::string_view::npos) {
    throw UsageError("A '%' in the pattern has no second one. Write \\% for the character itself.");
  }
  const std::string name(rest.substr(1, end - 1));
  rest.remove_prefix(end + 1);
  return {"", columnNamed(name, columns)};
}

PatternFormat::PatternFormat(const std::string& pattern, const std::vector<browse::Column>& columns,
                             std::ostream& stream)
    : groups(1), out(stream) {
  for (std::string_view rest = pattern; !rest.empty();) {
    const char c = rest.front();
    if (c == '%') {
      groups.back().pieces.push_back(takeColumn(rest, columns));
      continue;
    }
    if ((c == '[' && !groups.back().isOptional) || (c == ']' && groups.back().isOptional)) {
      groups.push_back({c == '[', {}});
      rest.remove_prefix(1);
      continue;
    }
    const char literal = c == '\\' ? takeEscaped(rest) : c;
    if (c != '\\') rest.remove_prefix(1);
    groups.back().pieces.push_back({std::string(1, literal)});
  }
  if (groups.back().isOptional) throw UsageError("A '[' in the pattern has no ']'.");
}

std::string PatternFormat::textOf(const Group& group, const browse::Row& row) {
  std::string text;
  bool isFilled = !group.isOptional;
  for (const Piece& piece : group.pieces) {
    const std::string value =
        piece.column == kNoColumn ? piece.text : displayCell(row[piece.column]);
    isFilled = isFilled || (piece.column != kNoColumn && !value.empty());
    text += value;
  }
  return isFilled ? text : "";
}

void PatternFormat::row(const browse::Row& row) {
  for (const Group& group : groups) out << textOf(group, row);
  out << '\n';
}

}  // namespace orvel::cli
