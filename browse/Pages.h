#pragma once

#include <cstdint>
#include <string>

#include "browse/ListQuery.h"
#include "browse/MediaDatabase.h"

namespace orvel::browse {

/// Which rows of a listing are wanted, and in which order.
struct PageRequest {
  std::string
      sort;  ///< the name of a column, "-" before it for the reverse; empty: the usual order
  std::uint32_t offset = 0;
  std::uint32_t count = 0;
};

/// The statement for the rows of a page. Throws std::invalid_argument for a sort that names no
/// column of the listing.
std::string pageStatement(const Listing& listing, const PageRequest& page);

/// The number of rows of a listing.
std::uint32_t countRows(const MediaDatabase& database, const Listing& listing);

/// Reads one page. Returns the number of rows of the whole listing, counted at the same moment.
/// Throws as `pageStatement`.
std::uint32_t readPage(const MediaDatabase& database, const Listing& listing,
                       const PageRequest& page, const RowReceiver& receive);

}  // namespace orvel::browse
