#pragma once

#include <string>

#include "cli/IndexResult.h"

namespace orvel::cli {

/// The result of a run as one JSON object on one line, for programs.
std::string jsonReport(const IndexResult& result);

}  // namespace orvel::cli
