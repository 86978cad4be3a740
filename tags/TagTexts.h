#pragma once

#include <taglib/tag.h>

#include <string>

namespace orvel {

/// The texts of a song's tag, in UTF-8 and ready to be stored.
struct TagTexts {
  std::string title;
  std::string artist;
  std::string album;
  std::string genre;
  std::string composer;
  std::string albumArtist;
};

/// Cuts a text that is ready to be stored to `TagValues::kMostCharacters`.
std::string cutForStorage(std::string text);

/// Converts a tag's texts: passes those held as Unicode unchanged and guesses the encoding of those
/// claimed as ISO-8859-1. Takes composer and album artist from
/// a `SongTag`; any other tag has none. Any thread.
TagTexts convertTexts(const TagLib::Tag& tag);

}  // namespace orvel
