#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "text/TextEncoding.h"

namespace orvel {

/// Releases a converted track.
struct TrackRelease {
  void operator()(TrackRecord* track) const;
};
using GuessedTrack = std::unique_ptr<TrackRecord, TrackRelease>;

/// A raw track, filled as from a tag.
class TaggedTrack {
 public:
  TaggedTrack() { initTrack(&record); }
  ~TaggedTrack() { destroyTrack(&record); }
  TaggedTrack(const TaggedTrack&) = delete;
  TaggedTrack& operator=(const TaggedTrack&) = delete;

  /// Takes the texts from a line as for `guessTrackLine`. Returns false when it is malformed.
  bool read(std::string_view line);

  /// Guesses the encoding and returns the texts in UTF-8. Throws std::bad_alloc when memory runs
  /// out.
  GuessedTrack guess() const;

  const TrackRecord& texts() const { return record; }

 private:
  TrackRecord record;
};

/// Guesses the encoding of one track given as a line of text.
/// @param line  title, artist, album, genre and composer as five tab-separated fields. Each is the
///              bytes of a text in hexadecimal, claimed as ISO-8859-1, or as UTF-8 after the prefix
///              "u:". An empty field is an absent text.
/// @return the five texts in UTF-8, separated by tabs, with blanks for control characters; nothing
///         when the line is malformed. Throws std::bad_alloc when memory runs out.
std::optional<std::string> guessTrackLine(std::string_view line);

}  // namespace orvel
