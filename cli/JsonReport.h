#pragma once

#include <string>

#include "cli/IndexResult.h"

namespace orvel::cli {

/// Formats a result as one JSON object on one line, for programs.
std::string jsonReport(const IndexResult& result);

}  // namespace orvel::cli
