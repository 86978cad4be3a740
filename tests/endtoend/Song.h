#pragma once

#include <string>

namespace orvel::test {

/// The texts of a test song.
struct SongTexts {
  std::string title;
  std::string artist;
  std::string album = "Album";
  std::string genre = "Genre";
};

/// Writes a song with real audio, of the container that the extension of `path` names, and real
/// tags.
void writeSong(const std::string& path, const SongTexts& texts);

}  // namespace orvel::test
