#pragma once

#include "cli/ListFormat.h"

namespace orvel::cli {

/// Prints one JSON array with one object, on one line, per row. For a path that is not valid UTF-8
/// the key "path_hex" adds its bytes in hexadecimal digits.
class JsonFormat : public ListFormat {
 public:
  JsonFormat(std::vector<browse::Column> wantedColumns, std::ostream& stream);

  void row(const browse::Row& row) override;
  void end() override;

 private:
  std::vector<browse::Column> columns;
  std::ostream& out;
  bool isFirst = true;
};

}  // namespace orvel::cli
