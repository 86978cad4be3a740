#pragma once

#include <taglib/tfile.h>
#include <taglib/tstring.h>

#include <array>

namespace orvel {

/// What a song's tag says, as far as it is stored; texts as the file has them.
struct TagValues {
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
};

/// Takes what TagLib's tag interface lacks from the format's own tag where the format is known,
/// otherwise from the file's properties. The file must have a tag.
TagValues tagValuesOf(const TagLib::File& file);

}  // namespace orvel
