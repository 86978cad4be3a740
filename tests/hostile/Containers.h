#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// The building blocks of the containers that songs come in, sound unless one lies about a size.
namespace orvel::test {

std::string zeros(std::size_t count);
std::string bigEndian(std::uint64_t number, int bytes = 4);
std::string littleEndian(std::uint64_t number, int bytes = 4);
/// Seven bits to the byte, as ID3v2 has its sizes.
std::string synchsafe(std::uint64_t number);

/// An ID3v2.4 frame; a compressed one has a data length of its own in front.
std::string id3v2Frame(const std::string& id, const std::string& data, bool isCompressed = false);
/// The data of a chapter frame with `frames` in it.
std::string id3v2Chapter(const std::string& frames);
std::string id3v2Tag(const std::string& frames, char version = 4);
/// Compressed by zlib.
std::string deflated(const std::string& data);

/// A box of an MP4 file.
std::string mp4Box(const std::string& name, const std::string& data);
}  // namespace orvel::test
