#pragma once

#include <taglib/tbytevector.h>

namespace orvel {

/// Makes the frames of an ID3v2 tag harmless before the tag reader sees them. A compressed frame
/// may expand a thousandfold, and a tag may hold millions of frames: frames that expand beyond 4
/// MiB, or that could hide such frames, are changed so that the reader finds them broken; what
/// follows the 20000th frame is blanked. Every other tag stays as it is.
///
/// Formats: ID3v2.3 and ID3v2.4 (id3.org), chapters as in "ID3v2 Chapter Frame Addendum".
/// @param header  the ten bytes of the tag's header, beginning with "ID3"
/// @param frames  what follows the header
void defuseId3v2Frames(const TagLib::ByteVector& header, TagLib::ByteVector& frames);

}  // namespace orvel
