#pragma once

#include <string>
#include <vector>

#include "tools/stick/SongTags.h"

namespace orvel::stick {

/// One song of the demonstration stick.
struct SampleSong {
  std::string path;  ///< below the stick
  std::string seed;  ///< the seed file whose sound it has
  TagForm form = TagForm::None;
  SongTags tags = {};
  bool cover = false;
};

/// All songs of the demonstration stick that are sound files in good order. Every name is invented.
const std::vector<SampleSong>& sampleSongs();

}  // namespace orvel::stick
