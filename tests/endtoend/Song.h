#pragma once

#include <string>

namespace orvel::test {

/// What a test writes into a song.
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
