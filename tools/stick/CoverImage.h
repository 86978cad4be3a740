#pragma once

#include <taglib/tbytevector.h>

namespace orvel::stick {

/// A valid JPEG image of about `size` bytes: a small picture with comment segments.
TagLib::ByteVector coverImage(unsigned int size);

}  // namespace orvel::stick
