#pragma once

#include <map>
#include <memory>
#include <ostream>
#include <string>

#include "browse/ListQuery.h"
#include "browse/MediaDatabase.h"

namespace orvel::cli {

/// Prints a listing row by row, as valid UTF-8 without control characters.
class ListFormat {
 public:
  enum class Kind { Table, Tsv, Json };

  virtual ~ListFormat() = default;
  ListFormat() = default;
  ListFormat(const ListFormat&) = delete;
  ListFormat& operator=(const ListFormat&) = delete;

  /// Prints a row with one cell for each column.
  virtual void row(const browse::Row& row) = 0;
  /// Call once after the last row.
  virtual void end() = 0;

  /// Makes the format for `columns`. It prints to `out`, which must outlive it. A table is fitted
  /// to `width` columns; 0 means no limit.
  static std::unique_ptr<ListFormat> make(Kind kind, const std::vector<browse::Column>& columns,
                                          std::ostream& out, std::size_t width);
};

/// The formats by the names that people use for them.
const std::map<std::string, ListFormat::Kind>& listFormats();

}  // namespace orvel::cli
