#pragma once

#include <string>

#include "cli/ListFormat.h"

namespace orvel::cli {

/// Prints aligned columns for people. Fits them to the terminal by shortening the widest: paths at
/// their start, other texts at their end.
class TableFormat : public ListFormat {
 public:
  /// @param availableWidth  in terminal columns; 0: no limit
  TableFormat(const std::vector<browse::Column>& wantedColumns, std::ostream& stream,
              std::size_t availableWidth);

  void row(const browse::Row& row) override;
  void end() override;

 private:
  using Line = std::vector<std::string>;

  [[nodiscard]] std::vector<std::size_t> fittedWidths() const;
  void print(const Line& line, const std::vector<std::size_t>& widths) const;

  std::vector<browse::Column> columns;
  std::ostream& out;
  std::size_t width;
  std::vector<Line> lines;
};

}  // namespace orvel::cli
