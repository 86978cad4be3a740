#pragma once

#include <string>

#include "cli/IndexResult.h"

namespace orvel::cli {

/// The result of a run in lines for people.
std::string summary(const IndexResult& result);

/// A size in bytes for people, such as "132 KB".
std::string readableSize(std::int64_t bytes);

/// The counts of a database for people, in one line.
std::string readableTotals(const Totals& totals);

}  // namespace orvel::cli
