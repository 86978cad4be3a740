#pragma once

#include <orvel/Cover.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace orvel {

/// What the first bytes of a picture tell.
struct PictureHeader {
  PictureType type;
  std::uint32_t width;   ///< in pixels
  std::uint32_t height;  ///< in pixels
};

/// Reads the header of a picture, whatever its name and claimed type. Nothing for other bytes, and
/// for a picture beyond the bounds of `Cover`. Takes linear time.
std::optional<PictureHeader> pictureHeaderOf(std::string_view bytes);

}  // namespace orvel
