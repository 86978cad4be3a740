#pragma once

namespace orvel {

/// One text of a track with the name of the encoding that its tag claims.
struct TrackText {
  char* bytes = nullptr;           ///< owned, allocated with malloc, NUL-ended; null when absent
  unsigned length = 0;             ///< in bytes, without the closing NUL
  const char* encoding = nullptr;  ///< "ISO-8859-1" or "UTF-8"; a string literal, not owned
};

/// The five texts of one track, raw on the way in and UTF-8 on the way out.
struct TrackRecord {
  TrackText title;
  TrackText artist;
  TrackText album;
  TrackText genre;
  TrackText composer;
};

/// Prepares an empty record. The record must not hold texts yet.
void initTrack(TrackRecord* track);

/// Each stores a copy of `length` bytes with the name of their claimed encoding, replacing an
/// earlier text. On allocation failure the text stays empty.
void setTrackTitle(TrackRecord* track, const char* bytes, unsigned length, const char* encoding);
void setTrackArtist(TrackRecord* track, const char* bytes, unsigned length, const char* encoding);
void setTrackAlbum(TrackRecord* track, const char* bytes, unsigned length, const char* encoding);
void setTrackGenre(TrackRecord* track, const char* bytes, unsigned length, const char* encoding);
void setTrackComposer(TrackRecord* track, const char* bytes, unsigned length, const char* encoding);

/// Guesses the real encoding of the texts claimed as "ISO-8859-1" and converts all five to UTF-8.
///
/// Passes texts claimed as "UTF-8" unchanged, except for ill-formed parts, and plain ASCII texts
/// always. Converts the texts whose bytes show their encoding: ISO-2022-JP, HZ, UTF-16 without a
/// mark, UTF-8, also UTF-8 that was encoded again. Assumes that the others share one encoding,
/// unless another explains one of them far better: windows-1252, the superset of ISO-8859-1, unless
/// another explains them clearly better. Bytes without a meaning become U+FFFD. NULs and control
/// characters stay.
/// @param defaultEncoding  "ISO-8859-1", the only supported default
/// @return a new record that the caller gives to `destroyTrack` and then to `free`, or null when
///         memory ran out. Any thread.
TrackRecord* guess_and_convert_by_prio(const TrackRecord* track, const char* defaultEncoding);

/// True when a converted text is absent or empty.
bool isMetadataEmptyUTF8(const TrackText& text);

/// Releases the texts held by `track`, not `track` itself, and leaves it empty.
void destroyTrack(TrackRecord* track);

}  // namespace orvel
