#include "browse/Pages.h"

#include <algorithm>
#include <stdexcept>

namespace orvel::browse {

namespace {

/// The terms for ORDER BY: the wanted column, if any, before the usual order.
std::string orderOf(const Listing& listing, const std::string& sort) {
  if (sort.empty()) return listing.order;
  const bool isReverse = sort.front() == '-';
  const std::string name = sort.substr(isReverse ? 1 : 0);
  const auto column = std::find_if(listing.columns.begin(), listing.columns.end(),
                                   [&](const Column& candidate) { return name == candidate.name; });
  if (column == listing.columns.end()) {
    std::string names;
    for (const Column& known : listing.columns) names += std::string(" ") + known.name;
    throw std::invalid_argument("There is no column '" + name + "' to sort by. There are:" + names +
                                "; '-' before a name reverses the order.");
  }
  return std::to_string(column - listing.columns.begin() + 1) + " COLLATE UTF8" +
         (isReverse ? " DESC, " : ", ") + listing.order;
}

}  // namespace

std::string pageStatement(const Listing& listing, const PageRequest& page) {
  return listing.select + " ORDER BY " + orderOf(listing, page.sort) + " LIMIT " +
         std::to_string(page.count) + " OFFSET " + std::to_string(page.offset);
}

std::uint32_t countRows(const MediaDatabase& database, const Listing& listing) {
  std::uint32_t total = 0;
  database.query("SELECT COUNT(*) FROM (" + listing.select + ")", listing.parameters,
                 [&](const Row& row) {
                   total = static_cast<std::uint32_t>(std::get<std::int64_t>(row[0]));
                   return true;
                 });
  return total;
}

std::uint32_t readPage(const MediaDatabase& database, const Listing& listing,
                       const PageRequest& page, const RowReceiver& receive) {
  const std::string rows = pageStatement(listing, page);
  std::uint32_t total = 0;
  database.atOneMoment([&] {
    total = countRows(database, listing);
    if (page.offset < total) database.query(rows, listing.parameters, receive);
  });
  return total;
}

}  // namespace orvel::browse
