#pragma once

#include <cstdint>
#include <filesystem>

namespace orvel::stick {

/// Writes a stick of `songs` songs for benchmarks, the same for the same seed: 69 % MP3, 12 % M4A,
/// 9 % FLAC, 6 % WMA and 4 % WAV in albums of about 12, a cover of 60 to 200 KB in 30 % of them,
/// folder.jpg in every fourth album, a playlist for every 267 songs; about 200 KB per song.
void makeBenchStick(const std::filesystem::path& folder, int songs, std::uint64_t seed);

}  // namespace orvel::stick
