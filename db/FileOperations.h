#pragma once

#include <cstdint>
#include <string>

/// Questions to the file system that follow the rules of database files and large sticks.
namespace orvel::fileOperations {

[[nodiscard]] bool exists(const std::string& path);

/// True for a symbolic link, wherever it leads.
[[nodiscard]] bool isLink(const std::string& path);

/// Bytes, 0 when the file is not there. 64 bits on every target: a file may be larger than a `long`
/// counts.
[[nodiscard]] std::int64_t size(const std::string& path);

/// Removes `path`; true when no such file is left. A failure is logged.
bool remove(const std::string& path);

/// Creates an empty file unless there is one, without following a link. A failure is logged.
void mark(const std::string& path);

/// True for a folder that has entries: a mount point that is in use.
[[nodiscard]] bool isFolderWithEntries(const std::string& path);

}  // namespace orvel::fileOperations
