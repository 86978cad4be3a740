#pragma once

#include "cli/ListFormat.h"

namespace orvel::cli {

/// Prints tab-separated values with a header line. Escapes tabs, line ends, other control
/// characters and backslashes in values with a backslash.
class TsvFormat : public ListFormat {
 public:
  TsvFormat(const std::vector<browse::Column>& columns, std::ostream& stream);

  void row(const browse::Row& row) override;
  void end() override {}

 private:
  std::ostream& out;
};

}  // namespace orvel::cli
