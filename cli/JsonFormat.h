#pragma once

#include "cli/ListFormat.h"

namespace orvel::cli {

/// Prints one JSON array with one object, on one line, per row. For a path that is not valid UTF-8
/// the key "path_hex" adds its bytes in hexadecimal digits.
class JsonFormat : public ListFormat {
 public:
  JsonFormat(std::vector<browse::Column> wantedColumns, std::ostream& stream);

  void row(const browse::Row& cells) override;
  /// Prints a row with columns of its own and, unless it is null, the key "kind".
  void row(const std::vector<browse::Column>& columns, const browse::Row& row, const char* kind);
  void end() override;

 private:
  std::vector<browse::Column> usualColumns;
  std::ostream& out;
  bool isFirst = true;
};

}  // namespace orvel::cli
