#pragma once

namespace orvel {

/// What a file is taken for by its name.
enum class MediaKind { Other, Song, Playlist };

/// Classifies a file by its extension, in any letter case. An extension counts only when its first
/// occurrence in the name is the name's end: "a.mp3.mp3" is nothing.
MediaKind mediaKindOf(const char* name);

}  // namespace orvel
