#pragma once

#include "cli/ListFormat.h"

namespace orvel::cli {

/// One JSON array with an object per row and line. A path that is not valid UTF-8 is followed by
/// its bytes in hexadecimal digits under the key "path_hex".
class JsonFormat : public ListFormat {
 public:
  JsonFormat(std::vector<Column> wantedColumns, std::ostream& stream);

  void row(const Row& row) override;
  void end() override;

 private:
  std::vector<Column> columns;
  std::ostream& out;
  bool isFirst = true;
};

}  // namespace orvel::cli
