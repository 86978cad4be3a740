#pragma once

#include <cstdint>
#include <string>

namespace orvel::test {

/// Writes an MP3 file of `bytes` that takes hardly any space: a tag with a title of fewer than 100
/// ASCII characters, and nothing after it. Failures throw std::exception.
void writeSparseSong(const std::string& path, const std::string& title, std::uintmax_t bytes);

/// A size that does not fit 32 bits with a sign.
constexpr std::uintmax_t kThreeGibibytes = std::uintmax_t{3} << 30;

}  // namespace orvel::test
