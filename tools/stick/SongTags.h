#pragma once

#include <string>

namespace orvel::stick {

/// The kind of tag, which implies the container.
enum class TagForm {
  None,            ///< any container, unchanged
  Id3v1,           ///< MPEG audio with only the 128 bytes at the end
  Id3v23,          ///< MPEG audio, UTF-16 where Latin-1 is not enough
  Id3v24,          ///< MPEG audio, UTF-8
  Id3v24AndId3v1,  ///< MPEG audio with both; the short form cuts texts at 30 bytes
  Ape,             ///< MPEG audio with an APE tag at the end
  Mp4,             ///< MP4 items
  Asf,             ///< the extended content description of WMA and ASF
  Xiph,            ///< the Vorbis comment of FLAC
  WavId3v2,        ///< RIFF WAVE with an ID3v2 chunk
  WavInfo          ///< RIFF WAVE with a LIST INFO chunk
};

/// The contents of a song's tags, in UTF-8; empty texts are left out.
struct SongTags {
  std::string title = {};
  std::string artist = {};
  std::string album = {};
  std::string genre = {};
  std::string composer = {};
  std::string track = {};  ///< "3" or "3/12"
  std::string disc = {};   ///< "1" or "1/2"
  /// ID3 only: store the texts in this character set but declare them as Latin-1.
  std::string legacyCharset = {};
  std::string albumArtist = {};
  std::string year = {};
};

}  // namespace orvel::stick
