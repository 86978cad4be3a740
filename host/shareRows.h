#pragma once

#include <string>

namespace orvel::host {

/// True when the indexer takes rows of one mount point for rows of the other, because one path
/// begins with the other: they cannot be partitions of one device. ASCII case does not count, "_"
/// matches any character and "%" any text.
bool shareRows(const std::string& mountPoint, const std::string& other);

}  // namespace orvel::host
