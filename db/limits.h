#pragma once

#include <cstddef>

namespace orvel {

/// Songs of one device that a request indexes at most; the crawlers leave out the rest.
constexpr std::size_t kMostSongs = 16000;

/// Songs that are read, and written in one transaction, as one block.
constexpr std::size_t kSongsPerBlock = 500;

}  // namespace orvel
