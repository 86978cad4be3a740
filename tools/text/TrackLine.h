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

/// A track whose texts were set, as the tag reader does it; released by its destructor.
class TaggedTrack {
 public:
  TaggedTrack() { initTrack(&record); }
  ~TaggedTrack() { destroyTrack(&record); }
  TaggedTrack(const TaggedTrack&) = delete;
  TaggedTrack& operator=(const TaggedTrack&) = delete;

  /// Takes the texts from a line as for `guessTrackLine`. False when it is malformed.
  bool read(std::string_view line);

  /// The texts in UTF-8. Throws std::bad_alloc when memory ran out.
  GuessedTrack guess() const;

  const TrackRecord& texts() const { return record; }

 private:
  TrackRecord record;
};

/// Guesses the encoding of one track given as a line of text.
/// @param line  title, artist, album, genre and composer as five fields with tabs between them,
/// each
///              the bytes of a text in hexadecimal that a tag claims to be ISO-8859-1, or UTF-8
///              with "u:" in front; an empty field is an absent text
/// @return the five texts in UTF-8 with tabs between them and blanks for control characters;
/// nothing
///         when the line is malformed. Throws std::bad_alloc when memory ran out.
std::optional<std::string> guessTrackLine(std::string_view line);

}  // namespace orvel
