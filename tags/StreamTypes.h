#pragma once

#include <taglib/taglib.h>

#include <cstddef>

namespace orvel {

// The integers in the virtual functions of TagLib::IOStream, which differ between TagLib 1 and 2.
#if TAGLIB_MAJOR_VERSION >= 2
using StreamOffset = TagLib::offset_t;  ///< a position or a size
using StreamStart = TagLib::offset_t;   ///< the beginning of a part that is written
using StreamBytes = std::size_t;        ///< the length of a part
#else
using StreamOffset = long;
using StreamStart = unsigned long;
using StreamBytes = unsigned long;
#endif

}  // namespace orvel
