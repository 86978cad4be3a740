#pragma once

#include <taglib/tbytevector.h>

#include "tools/stick/SongTags.h"

namespace orvel::stick {

/// Returns a copy of the untagged `audio` with tags.
/// @param form  must suit the container of `audio`; ID3v1 and INFO cannot hold all tags
/// @param cover  a JPEG image or nothing; left out if the form cannot hold it
/// @throws std::runtime_error if the tags cannot be written
TagLib::ByteVector tagged(const TagLib::ByteVector& audio, TagForm form, const SongTags& tags,
                          const TagLib::ByteVector& cover = {});

}  // namespace orvel::stick
