#include "cli/TableFormat.h"

#include <algorithm>
#include <cctype>
#include <numeric>

#include "cli/DisplayText.h"

namespace orvel::cli {

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kSmallestColumn = 8;

std::string heading(const char* name) {
  std::string text = name;
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

TableFormat::TableFormat(const std::vector<browse::Column>& wantedColumns, std::ostream& stream,
                         std::size_t availableWidth)
    : columns(wantedColumns), out(stream), width(availableWidth) {
  Line headings;
  for (const browse::Column& column : columns) headings.push_back(heading(column.name));
  lines.push_back(std::move(headings));
}

void TableFormat::row(const browse::Row& row) {
  Line line;
  for (const browse::Cell& cell : row) line.push_back(displayCell(cell));
  lines.push_back(std::move(line));
}

void TableFormat::end() {
  const std::vector<std::size_t> widths = fittedWidths();
  for (const Line& line : lines) print(line, widths);
}

std::vector<std::size_t> TableFormat::fittedWidths() const {
  std::vector<std::size_t> widths(columns.size());
  for (const Line& line : lines) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      widths[i] = std::max(widths[i], displayWidth(line[i]));
    }
  }
  if (width == 0) return widths;
  std::size_t total = std::accumulate(widths.begin(), widths.end(), (columns.size() - 1) * kGap);
  for (; total > width; --total) {
    const auto widest = std::max_element(widths.begin(), widths.end());
    if (*widest <= kSmallestColumn) break;
    --*widest;
  }
  return widths;
}

void TableFormat::print(const Line& line, const std::vector<std::size_t>& widths) const {
  std::string text;
  std::size_t missing = 0;  // blanks before the next column; none at the end of a line
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const bool isPath = columns[i].kind == browse::Column::Kind::Path;
    const std::string cell = elided(line[i], widths[i], isPath ? Elide::Start : Elide::End);
    const std::size_t padding = widths[i] - displayWidth(cell);
    const bool alignRight = columns[i].kind == browse::Column::Kind::Number;
    text.append(missing + (alignRight ? padding : 0), ' ').append(cell);
    missing = kGap + (alignRight ? 0 : padding);
  }
  text.erase(text.find_last_not_of(' ') + 1);
  out << text << '\n';
}

}  // namespace orvel::cli
