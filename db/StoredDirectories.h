#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "db/SqlStream.h"

namespace orvel {

/// Counts the directory identifiers that are either stored below `prefix` or in `ids`, but not
/// both.
/// @param in   open on the device's database; loses its query. Unless it is at the end of its data
///             afterwards, rows could not be read and the count is wrong
/// @param ids  in ascending order
std::size_t countDifferences(sqlstl::basic_sqlistream<char>& in, const std::string& prefix,
                             const std::vector<std::string>& ids);

}  // namespace orvel
