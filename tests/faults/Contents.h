#pragma once

#include <string>
#include <vector>

namespace orvel::test {

/// The rows of a device's database in a fixed order, without row ids and generations, which depend
/// on the number and order of writes.
/// @throws std::runtime_error when the file cannot be read.
std::vector<std::string> contentsOf(const std::string& database);

/// The rows of `contentsOf` that a listener would miss: songs with their names, and playlists.
std::vector<std::string> musicOf(const std::string& database);

/// The first fault that SQLite finds in the file; "ok" when there is none.
std::string integrityOf(const std::string& database);

}  // namespace orvel::test
