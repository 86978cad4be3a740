#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orvel {

/// How a container stores a picture that TagLib reads in one piece, outside ID3v2.
enum class PictureForm : std::uint8_t {
  None,  ///< other data
  Flac,  ///< a picture block
  Asf,   ///< an attribute "WM/Picture"
  Mp4    ///< an atom "covr": pictures, each after a header of `kMp4HeaderBytes`
};

/// The bytes before the data that tell its form.
constexpr std::size_t kBytesBeforePicture = 26;
/// Before each picture of an atom: the length with this header, "data", the kind and a locale.
constexpr unsigned int kMp4HeaderBytes = 16;

/// @param before  the bytes before the data; fewer than `kBytesBeforePicture` tell nothing
/// @param length  of the data
PictureForm pictureFormOf(std::string_view before, std::uint64_t length);

}  // namespace orvel
