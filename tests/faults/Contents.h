#pragma once

#include <string>
#include <vector>

namespace orvel::test {

/// Everything that a device's database tells, row by row in an order of its own, without what
/// depends on how often and in which order it was written: row ids and generations.
/// @throws std::runtime_error when the file cannot be read.
std::vector<std::string> contentsOf(const std::string& database);

/// The rows of `contentsOf` that a listener would miss: songs with their names, and playlists.
std::vector<std::string> musicOf(const std::string& database);

/// What SQLite finds wrong with the file; "ok" when nothing.
std::string integrityOf(const std::string& database);

}  // namespace orvel::test
