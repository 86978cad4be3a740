#pragma once

#include <taglib/id3v2header.h>
#include <taglib/tbytevector.h>

namespace orvel {

/// Makes the frames of an ID3v2 tag harmless before TagLib sees them, in linear time. TagLib itself
/// expands each compressed frame without a limit, reads past the end of frames that state a larger
/// length, follows chapters in chapters, and takes quadratic time for some texts.
///
/// A tag may expand by 4 MiB in all and have texts of 2 MiB, genres of 32 KiB and 20000 frames.
/// Frames beyond that are marked such that TagLib does not look inside, and so are chapters,
/// synchronised lyrics and a few texts that no song record needs. All other bytes stay as they are.
/// @param frames  the tag without its header
void defuseId3v2Frames(const TagLib::ID3v2::Header& header, TagLib::ByteVector& frames);

}  // namespace orvel
