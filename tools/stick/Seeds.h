#pragma once

#include <taglib/tbytevector.h>

#include <string>

namespace orvel::stick {

/// Bytes of one of the small files under `seeds/`, for example "cbr.mp3".
/// @throws std::runtime_error when the source tree that the program was built from is gone.
TagLib::ByteVector seed(const std::string& fileName);

}  // namespace orvel::stick
