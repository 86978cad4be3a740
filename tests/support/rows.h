#pragma once

#include <string>
#include <vector>

namespace orvel::test {

/// Runs `sql`, one or several statements, on the SQLite file with a plain connection that waits up
/// to five seconds for locks. Returns the rows of all statements: columns joined by "|", NULL as
/// "NULL". Throws std::runtime_error with SQLite's message on any error. Creates a missing file.
std::vector<std::string> rows(const std::string& file, const std::string& sql);

}  // namespace orvel::test
