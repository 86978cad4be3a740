#pragma once

namespace orvel {

/// The most songs that one request indexes, of a stick and of a phone alike.
inline constexpr int kMaxSongs = 16000;

}  // namespace orvel
