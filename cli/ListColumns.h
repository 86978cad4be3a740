#pragma once

#include <string>
#include <vector>

#include "browse/ListQuery.h"
#include "browse/MediaDatabase.h"

namespace orvel::cli {

/// The place of the column with this name. Throws UsageError, which lists the names, if there is
/// none.
std::size_t columnNamed(const std::string& name, const std::vector<browse::Column>& columns);

/// The columns of a listing that are printed, in their order.
class ListColumns {
 public:
  enum class Reader {
    People,   ///< few columns; blanks are filled in
    Pattern,  ///< all columns; only names stay blank
    Tsv,      ///< the columns that have always been there
    Program   ///< all columns
  };

  /// @param wanted  names of columns; empty: those for the reader
  ListColumns(browse::ListKind listKind, std::vector<browse::Column> known, Reader whoReads,
              const std::vector<std::string>& wanted);

  [[nodiscard]] const std::vector<browse::Column>& columns() const { return shown; }

  /// The cells of these columns, valid until the next call. For people a song without title has the
  /// name of its file, an empty name is "Unknown artist" or the like, and a 0 that stands
  /// for nothing is blank.
  const browse::Row& of(const browse::Row& row);

 private:
  [[nodiscard]] browse::Cell filledIn(const browse::Row& row, std::size_t place) const;

  browse::ListKind kind;
  std::vector<browse::Column> all;
  Reader reader;
  std::vector<std::size_t> places;
  std::vector<browse::Column> shown;
  browse::Row cells;
};

}  // namespace orvel::cli
