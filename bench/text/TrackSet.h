#pragma once

#include <string>
#include <vector>

namespace orvel {

/// A track of which is known what its texts are.
struct KnownTrack {
  std::string language;
  std::string encoding;
  std::string texts;  ///< the true texts, with tabs between them
  std::string line;   ///< the same as a tag holds them, as `guessTrackLine` reads it
};

/// Reads a set of tracks: a head line, then a line for each with tab-separated columns: language,
/// encoding, a note, the five true texts, the five texts as a tag holds them.
/// Throws std::runtime_error when the file cannot be read or is malformed.
/// @param textCount  how many of the five texts a track keeps, from the title on
std::vector<KnownTrack> readTrackSet(const std::string& path, size_t textCount = 5);

}  // namespace orvel
