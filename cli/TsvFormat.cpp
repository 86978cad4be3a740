#include "cli/TsvFormat.h"

#include "cli/DisplayText.h"

namespace orvel::cli {

TsvFormat::TsvFormat(const std::vector<browse::Column>& columns, std::ostream& stream)
    : out(stream) {
  const char* separator = "";
  for (const browse::Column& column : columns) {
    out << separator << column.name;
    separator = "\t";
  }
  out << '\n';
}

void TsvFormat::row(const browse::Row& row) {
  const char* separator = "";
  for (const browse::Cell& cell : row) {
    out << separator;
    separator = "\t";
    if (const auto* text = std::get_if<std::string_view>(&cell)) out << escapedText(*text);
    if (const auto* number = std::get_if<std::int64_t>(&cell)) out << *number;
  }
  out << '\n';
}

}  // namespace orvel::cli
