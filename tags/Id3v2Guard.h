#pragma once

#include <taglib/tbytevector.h>

namespace orvel {

/// Makes the frames of an ID3v2 tag harmless before TagLib sees them. A compressed frame may expand
/// a thousandfold, and a tag may hold millions of frames. Breaks the frames that expand beyond 4
/// MiB or could hide such frames, so that TagLib skips them, and blanks everything after the
/// 20000th frame. Leaves all other bytes unchanged.
///
/// Formats: ID3v2.3 and ID3v2.4 (id3.org), chapters as in "ID3v2 Chapter Frame Addendum".
/// @param header  the ten bytes of the tag's header, beginning with "ID3"
/// @param frames  the rest of the tag
void defuseId3v2Frames(const TagLib::ByteVector& header, TagLib::ByteVector& frames);

}  // namespace orvel
