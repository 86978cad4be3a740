#pragma once

#include <string>
#include <vector>

namespace orvel::cli {

/// Makes `path` absolute and lexically clean, without a trailing "/"; keeps links. Throws
/// CommandError if it is empty, or relative to a working directory that is gone.
std::string cleanPath(const std::string& path);

/// Converts the arguments of a command line to clean paths for the indexer. Where there is no
/// folder of that name, the label of a mounted stick or a beginning of its id stands for its mount
/// point. Throws CommandError
/// (WrongUsage) if one is not valid UTF-8, or begins with another, so that the indexer would
/// confuse their rows.
std::vector<std::string> mountPointsFrom(const std::vector<std::string>& arguments);

/// Throws CommandError (CouldNotRun) if `mountPoint` is not a readable folder, or is empty and
/// nobody at a terminal wants it all the same: nothing may be mounted there, and an index would
/// forget the songs of the device.
void requireReadableFolder(const std::string& mountPoint, bool mayBeEmpty);

}  // namespace orvel::cli
