#pragma once

#include <cstddef>
#include <cstdint>

namespace orvel {

/// Takes one track of arbitrary bytes through everything that happens to its texts: guessing and
/// converting, trimming, Asian forms. Ends the process when a result is not what it must be.
/// @param data  a byte whose bits tell which of the five texts are claimed as UTF-8, then the texts
///              with line ends between them
void fuzzTexts(const std::uint8_t* data, std::size_t size);

}  // namespace orvel
