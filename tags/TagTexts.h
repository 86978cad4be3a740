#pragma once

#include <taglib/tag.h>

#include <string>

namespace orvel {

/// The five texts of a song's tag, in UTF-8 and fit to be stored.
struct TagTexts {
  std::string title;
  std::string artist;
  std::string album;
  std::string genre;
  std::string composer;
};

/// Texts that the tag holds as Unicode pass unchanged, texts claimed as ISO-8859-1 are guessed. The
/// composer comes from a `SongTag`; any other tag has none. Any thread.
TagTexts convertTexts(const TagLib::Tag& tag);

}  // namespace orvel
