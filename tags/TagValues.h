#pragma once

#include <taglib/tfile.h>
#include <taglib/tstring.h>

#include <array>
#include <cstddef>

namespace orvel {

/// The values of a song's tag that Orvel stores; texts as they stand in the file, but cut: a text
/// of millions of characters is none that anybody reads.
struct TagValues {
  /// Largest number of characters of a stored text.
  static constexpr std::size_t kMostCharacters = 4096;
  /// Largest number of a text's units, which may be bytes of an encoding that is guessed later.
  static constexpr std::size_t kMostUnits = 3 * kMostCharacters;

  static constexpr unsigned int kLastYear = 9999;

  /// The sort forms of title, artist, album, genre and composer, in this order; empty where the
  /// file gives none.
  using SortTexts = std::array<TagLib::String, 5>;

  TagLib::String title;
  TagLib::String artist;
  TagLib::String album;
  TagLib::String genre;
  TagLib::String composer;
  unsigned int track = 0;  ///< 0 when unknown
  int disc = 0;            ///< 0 when unknown
  SortTexts sort;

  /// The values of which no identifier and no text of a song's row depends.
  TagLib::String albumArtist;
  unsigned int year = 0;          ///< 0 when unknown
  unsigned int milliseconds = 0;  ///< length of the sound, 0 when unknown
  bool hasPicture = false;

  bool operator==(const TagValues&) const = default;
};

/// Reads the values of a file that has a tag; the length only where TagLib has read the audio
/// properties. Takes those missing from TagLib's tag interface from
/// the format's own tag where the format is known, otherwise from the file's properties.
TagValues tagValuesOf(const TagLib::File& file);

}  // namespace orvel
