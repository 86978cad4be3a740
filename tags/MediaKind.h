#pragma once

namespace orvel {

/// The kind of a file, judged by its name.
enum class MediaKind { Other, Song, Playlist };

/// Classifies a file by its extension, in any letter case. An extension counts only when its first
/// occurrence is at the end of the name: "a.mp3.mp3" is `Other`.
MediaKind mediaKindOf(const char* name);

}  // namespace orvel
