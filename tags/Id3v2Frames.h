#pragma once

#include <taglib/tbytevector.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

/// The layout of ID3v2.3 and ID3v2.4 frames, as far as walking over them needs it.
/// Source: id3.org, "ID3 tag version 2.3.0" and "2.4.0 - Main Structure".
namespace orvel::id3v2 {

using Bytes = std::span<const unsigned char>;

constexpr std::size_t kTagHeaderBytes = 10;
constexpr std::size_t kFrameHeaderBytes = 10;

inline Bytes bytesOf(const TagLib::ByteVector& data) {
  return {reinterpret_cast<const unsigned char*>(data.data()), data.size()};
}

inline std::uint32_t bigEndian(Bytes bytes) {
  return std::uint32_t{bytes[0]} << 24U | std::uint32_t{bytes[1]} << 16U |
         std::uint32_t{bytes[2]} << 8U | std::uint32_t{bytes[3]};
}

inline std::uint32_t synchsafe(Bytes bytes) {
  return std::uint32_t{bytes[0] & 0x7FU} << 21U | std::uint32_t{bytes[1] & 0x7FU} << 14U |
         std::uint32_t{bytes[2] & 0x7FU} << 7U | std::uint32_t{bytes[3] & 0x7FU};
}

/// True when `bytes` begin with four characters that can name a frame.
inline bool isFrameId(Bytes bytes) {
  return bytes.size() >= 4 && std::all_of(bytes.begin(), bytes.begin() + 4, [](unsigned char c) {
           return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
         });
}

/// The size of a frame's data as TagLib understands it: some writers of 2.4 tags store plain
/// instead of synchsafe sizes. `frameFollows(size)` returns true when another frame starts after
/// `size` bytes of data.
template <class FrameFollows>
std::size_t frameSize(Bytes header, unsigned int version, FrameFollows frameFollows) {
  const std::size_t plain = bigEndian(header.subspan(4, 4));
  if (version == 3) return plain;
  const std::size_t safe = synchsafe(header.subspan(4, 4));
  return safe > 127 && !frameFollows(safe) && frameFollows(plain) ? plain : safe;
}

/// The size of the tag after its header of ten bytes; 0 when `header` is no ID3v2 header.
inline unsigned int tagSize(const TagLib::ByteVector& header) {
  if (header.size() != kTagHeaderBytes || !header.startsWith("ID3")) return 0;
  return synchsafe(bytesOf(header).subspan(6, 4));
}

}  // namespace orvel::id3v2
