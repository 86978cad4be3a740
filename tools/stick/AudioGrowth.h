#pragma once

#include <taglib/tbytevector.h>

#include <string_view>

namespace orvel::stick {

/// A longer file of the same sound: repeats the audio frames of an untagged seed until the file has
/// about `size` bytes, and corrects the lengths and counts in its headers.
/// @param extension of the container: ".mp3", ".m4a", ".flac", ".wma" or ".wav". An MP4 file grows
/// in
///        its media data only; its sample table goes on describing the seed's samples.
/// @throws std::invalid_argument for any other container.
TagLib::ByteVector grown(const TagLib::ByteVector& seed, std::string_view extension,
                         unsigned int size);

}  // namespace orvel::stick
