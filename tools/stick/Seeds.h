#pragma once

#include <taglib/tbytevector.h>

#include <string>

namespace orvel::stick {

/// Reads one of the small files under `seeds/`, for example "cbr.mp3".
/// @throws std::runtime_error if the program's source tree is gone.
TagLib::ByteVector seed(const std::string& fileName);

}  // namespace orvel::stick
