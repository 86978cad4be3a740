#pragma once

#include <taglib/tbytevector.h>

namespace orvel::stick {

/// Makes a valid JPEG image of about `size` bytes: a small picture, padded with comment segments.
TagLib::ByteVector coverImage(unsigned int size);

}  // namespace orvel::stick
