#pragma once

#include <string>
#include <vector>

#include "cli/ListFormat.h"

namespace orvel::cli {

/// Prints each row as a pattern says, on one line: "%artist% - %title%". Text in brackets is left
/// out where all columns in it are empty: "[%artist% - ]%title%". A backslash takes the next
/// character as it is, apart from "\t" and "\n".
class PatternFormat : public ListFormat {
 public:
  /// Throws UsageError for a pattern that names no column of the listing or is not closed.
  PatternFormat(const std::string& pattern, const std::vector<browse::Column>& columns,
                std::ostream& stream);

  void row(const browse::Row& row) override;
  void end() override {}

 private:
  struct Piece {
    std::string text;
    std::size_t column = kNoColumn;
  };
  struct Group {
    bool isOptional = false;
    std::vector<Piece> pieces;
  };
  static constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);

  /// Takes "%name%" from the start of `rest`.
  static Piece takeColumn(std::string_view& rest, const std::vector<browse::Column>& columns);
  static std::string textOf(const Group& group, const browse::Row& row);

  std::vector<Group> groups;
  std::ostream& out;
};

}  // namespace orvel::cli
