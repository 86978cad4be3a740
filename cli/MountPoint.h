#pragma once

#include <string>
#include <vector>

namespace orvel::cli {

/// `path` made absolute and lexically clean, without a trailing "/"; links are kept. Throws
/// CommandError when it is empty, or relative to a working directory that is gone.
std::string cleanPath(const std::string& path);

/// What the indexer is to be given for the arguments of a command line: clean paths. Throws
/// CommandError (WrongUsage) when one is not valid UTF-8, or when the rows of one would be taken
/// for rows of another because its path begins with the other's.
std::vector<std::string> mountPointsFrom(const std::vector<std::string>& arguments);

/// Throws CommandError (CouldNotRun) when `mountPoint` is no folder that can be read.
void requireReadableFolder(const std::string& mountPoint);

}  // namespace orvel::cli
