#pragma once

#include <cstdint>
#include <string>

namespace orvel {

/// Where the cover of a song is: the values of SONGDETAILS.COVER.
enum class CoverPlace : std::uint8_t {
  None,
  Embedded,  ///< in the song itself
  InFolder,  ///< a picture file beside it
  Unknown    ///< nobody has looked into the song; stored as NULL
};

/// The values of a song's row in SONGDETAILS: of which no identifier depends.
struct SongDetails {
  std::uint32_t milliseconds = 0;  ///< length of the sound, 0 when unknown
  std::uint32_t year = 0;          ///< 0 when unknown
  std::string albumArtist;
  CoverPlace cover = CoverPlace::Unknown;
};

}  // namespace orvel
