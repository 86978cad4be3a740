#pragma once

#include <string>

#include "cli/IndexResult.h"

namespace orvel::cli {

/// Formats a result as lines for people.
std::string summary(const IndexResult& result);

/// Formats a size in bytes for people, such as "132 KB".
std::string readableSize(std::int64_t bytes);

/// Formats the counts of a database on one line for people.
std::string readableTotals(const browse::Totals& totals);

}  // namespace orvel::cli
