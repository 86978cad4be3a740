#pragma once

#include <filesystem>

namespace orvel::stick {

/// Writes the demonstration stick: every container and tag form, playlists of all five kinds, names
/// in many scripts, hidden and damaged files.
/// @return the number of files with the name of a song
int makeSampleStick(const std::filesystem::path& folder);

}  // namespace orvel::stick
