#pragma once

#include <string>
#include <vector>

namespace orvel {

/// A track whose true texts are known.
struct KnownTrack {
  std::string language;
  std::string encoding;
  std::string note;   ///< the shape or the source of the track
  std::string texts;  ///< the true texts, tab-separated
  std::string line;   ///< the texts as stored in a tag, in the format of `guessTrackLine`
};

/// Reads a set of tracks. Format: a head line, then one line per track with tab-separated columns:
/// language, encoding, a note, the five true texts, the five texts as stored in a tag.
/// Throws std::runtime_error if the file cannot be read or is malformed.
/// @param textCount  number of texts that a track keeps, starting with the title
std::vector<KnownTrack> readTrackSet(const std::string& path, size_t textCount = 5);

}  // namespace orvel
