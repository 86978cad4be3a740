#pragma once

#include "cli/ListFormat.h"

namespace orvel::cli {

/// Tab-separated values with a header line. Tabs, line ends, other controls and backslashes in
/// values are escaped with a backslash.
class TsvFormat : public ListFormat {
 public:
  TsvFormat(std::vector<Column> wantedColumns, std::ostream& stream);

  void row(const Row& row) override;
  void end() override {}

 private:
  std::vector<Column> columns;
  std::ostream& out;
};

}  // namespace orvel::cli
