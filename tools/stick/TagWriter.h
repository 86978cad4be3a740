#pragma once

#include <taglib/tbytevector.h>

#include "tools/stick/SongTags.h"

namespace orvel::stick {

/// A copy of the untagged `audio` with tags.
/// @param form must suit the container of `audio`. ID3v1 and INFO have no place for some of the
/// tags.
/// @param cover a JPEG image or nothing; left out where the form has no place for it.
/// @throws std::runtime_error when the tags cannot be written.
TagLib::ByteVector tagged(const TagLib::ByteVector& audio, TagForm form, const SongTags& tags,
                          const TagLib::ByteVector& cover = {});

}  // namespace orvel::stick
