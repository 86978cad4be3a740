#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "db/SqlStream.h"

namespace orvel {

/// How many directory identifiers are either stored below `prefix` or in `ids`, but not both.
/// @param in   open on the device's database; its query is replaced. At the end of its data
///             afterwards, unless rows could not be read
/// @param ids  in ascending order
std::size_t countDifferences(sqlstl::basic_sqlistream<char>& in, const std::string& prefix,
                             const std::vector<std::string>& ids);

}  // namespace orvel
