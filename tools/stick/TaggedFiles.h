#pragma once

#include <filesystem>

namespace orvel::stick {

/// Writes `songs` small songs with random tags, in turn in every container and tag form, the same
/// every time, and a table of what was written: lines of path below the folder, form, title,
/// artist, album, genre, composer, track and disc with tabs between them, under a line of these
/// names. The tags are what the form can hold: ID3v1 and INFO have no composer and no disc.
void makeTaggedFiles(const std::filesystem::path& folder, int songs,
                     const std::filesystem::path& manifest);

}  // namespace orvel::stick
