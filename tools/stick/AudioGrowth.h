#pragma once

#include <taglib/tbytevector.h>

#include <string_view>

namespace orvel::stick {

/// Makes a longer file of the same sound: repeats the audio frames of an untagged seed up to about
/// `size` bytes, and corrects the lengths and counts in its headers.
/// @param extension of the container: ".mp3", ".m4a", ".flac", ".wma" or ".wav". Of an MP4 file
/// only
///        the media data grows; its sample table still describes the seed's samples.
/// @throws std::invalid_argument for any other container.
TagLib::ByteVector grown(const TagLib::ByteVector& seed, std::string_view extension,
                         unsigned int size);

}  // namespace orvel::stick
