#pragma once

#include <string>
#include <vector>

#include "tools/stick/SongTags.h"

namespace orvel::stick {

/// One song of the demonstration stick.
struct SampleSong {
  std::string path;  ///< below the stick
  std::string seed;  ///< the seed file that provides the sound
  TagForm form = TagForm::None;
  SongTags tags = {};
  bool cover = false;
};

/// All intact songs of the demonstration stick. Every name is invented.
const std::vector<SampleSong>& sampleSongs();

}  // namespace orvel::stick
