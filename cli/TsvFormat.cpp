#include "cli/TsvFormat.h"

#include <utility>

#include "cli/DisplayText.h"

namespace orvel::cli {

TsvFormat::TsvFormat(std::vector<browse::Column> wantedColumns, std::ostream& stream)
    : columns(std::move(wantedColumns)), out(stream) {
  const char* separator = "";
  for (const browse::Column& column : columns) {
    if (!column.everywhere) continue;
    out << separator << column.name;
    separator = "\t";
  }
  out << '\n';
}

void TsvFormat::row(const browse::Row& row) {
  const char* separator = "";
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (!columns[i].everywhere) continue;
    out << separator;
    separator = "\t";
    if (const auto* text = std::get_if<std::string_view>(&row[i])) out << escapedText(*text);
    if (const auto* number = std::get_if<std::int64_t>(&row[i])) out << *number;
  }
  out << '\n';
}

}  // namespace orvel::cli
