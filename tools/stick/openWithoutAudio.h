#pragma once

#include <taglib/id3v2framefactory.h>
#include <taglib/tiostream.h>

#include <type_traits>

namespace orvel::stick {

/// Opens a file of a format that has ID3v2 tags, without its audio properties. TagLib 1 wants the
/// maker of frames to be named; TagLib 2 deprecates that.
template <class File>
File openWithoutAudio(TagLib::IOStream& stream) {
  if constexpr (std::is_constructible_v<File, TagLib::IOStream*, bool>) {
    return File(&stream, false);
  } else {
    return File(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
  }
}

}  // namespace orvel::stick
