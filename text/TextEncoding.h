#pragma once

namespace orvel {

/// One text of a track with the name of the encoding that its tag claims.
struct TrackText {
  char* bytes = nullptr;  ///< owned, allocated with malloc, NUL-ended for convenience; null: none
  unsigned length = 0;    ///< number of bytes without the closing NUL
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

/// Guesses what the texts claimed as "ISO-8859-1" really are and converts all five to UTF-8.
///
/// Texts claimed as "UTF-8" pass as they are, apart from ill-formed parts. Texts of ASCII
/// characters alone never change. The others are taken to share one encoding, ISO-8859-1 as its
/// superset windows-1252 unless another explains them clearly better; without any meaning, bytes
/// become U+FFFD. NULs and control characters stay.
/// @param defaultEncoding  "ISO-8859-1", which is the only default that there is
/// @return a new record that the caller gives to `destroyTrack` and then to `free`, or null when
///         memory ran out. Any thread.
TrackRecord* guess_and_convert_by_prio(const TrackRecord* track, const char* defaultEncoding);

/// True when a converted text is absent or empty.
bool isMetadataEmptyUTF8(const TrackText& text);

/// Releases the texts held by `track`, not `track` itself, and leaves it empty.
void destroyTrack(TrackRecord* track);

}  // namespace orvel
