#pragma once

#include <filesystem>

namespace orvel::stick {

/// Writes `songs` small songs with random tags, the same each time, and cycles through all
/// containers and tag forms. Also writes a table of the tags: a head line and tab-separated columns
/// for path below the folder, form, title, artist, album, genre, composer, track and disc. Tags
/// that a form cannot hold are empty: ID3v1 and INFO have no composer and no disc.
void makeTaggedFiles(const std::filesystem::path& folder, int songs,
                     const std::filesystem::path& manifest);

}  // namespace orvel::stick
