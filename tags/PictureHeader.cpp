#include "tags/PictureHeader.h"

#include <cstddef>

#include "tags/Bytes.h"

namespace orvel {

namespace {

/// Walks over the segments to the one that begins a frame, which holds the dimensions.
std::optional<PictureHeader> jpegHeader(const Bytes& bytes) {
  constexpr std::uint32_t kFill = 0xFF;
  const auto isFrame = [](std::uint32_t marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
  };
  std::size_t at = 2;
  while (at + 4 <= bytes.size() && bytes.byte(at) == kFill) {
    const std::uint32_t marker = bytes.byte(at + 1);
    if (marker == kFill) {
      ++at;
      continue;
    }
    if (isFrame(marker)) {
      return PictureHeader{PictureType::Jpeg, bytes.big16(at + 7), bytes.big16(at + 5)};
    }
    constexpr std::uint32_t kScan = 0xDA;
    const std::uint32_t length = bytes.big16(at + 2);
    if (marker == kScan || length < 2) break;
    at += 2 + length;
  }
  return std::nullopt;
}

std::optional<PictureHeader> webpHeader(const Bytes& bytes) {
  constexpr std::uint32_t kSideBits = 0x3FFF;
  const auto of = [](std::uint32_t width, std::uint32_t height) {
    return PictureHeader{PictureType::WebP, width, height};
  };
  if (bytes.has(12, "VP8X")) return of(bytes.little24(24) + 1, bytes.little24(27) + 1);
  if (bytes.has(12, "VP8 ") && bytes.has(23, "\x9d\x01\x2a")) {
    return of(bytes.little16(26) & kSideBits, bytes.little16(28) & kSideBits);
  }
  if (bytes.has(12, "VP8L") && bytes.has(20, "\x2f")) {
    const std::uint32_t sides = bytes.little32(21);
    return of((sides & kSideBits) + 1, (sides >> 14 & kSideBits) + 1);
  }
  return std::nullopt;
}

std::optional<PictureHeader> bmpHeader(const Bytes& bytes) {
  constexpr std::uint32_t kOldHeaderBytes = 12;
  constexpr std::uint32_t kHeaderBytes = 40;
  const std::uint32_t headerBytes = bytes.little32(14);
  if (headerBytes == kOldHeaderBytes) {
    return PictureHeader{PictureType::Bmp, bytes.little16(18), bytes.little16(20)};
  }
  if (headerBytes < kHeaderBytes) return std::nullopt;
  // A negative height means that the rows begin at the top.
  constexpr std::uint32_t kSign = 0x80000000;
  const std::uint32_t height = bytes.little32(22);
  return PictureHeader{PictureType::Bmp, bytes.little32(18),
                       (height & kSign) != 0 ? 0 - height : height};
}

std::optional<PictureHeader> headerOf(const Bytes& bytes) {
  using namespace std::string_view_literals;
  if (bytes.has(0, "\xff\xd8\xff")) return jpegHeader(bytes);
  if (bytes.has(0, "\x89PNG\r\n\x1a\n") && bytes.has(8, "\0\0\0\x0dIHDR"sv)) {
    return PictureHeader{PictureType::Png, bytes.big32(16), bytes.big32(20)};
  }
  if (bytes.has(0, "RIFF") && bytes.has(8, "WEBP")) return webpHeader(bytes);
  if (bytes.has(0, "GIF87a") || bytes.has(0, "GIF89a")) {
    return PictureHeader{PictureType::Gif, bytes.little16(6), bytes.little16(8)};
  }
  if (bytes.has(0, "BM")) return bmpHeader(bytes);
  return std::nullopt;
}

}  // namespace

std::optional<PictureHeader> pictureHeaderOf(std::string_view bytes) {
  if (bytes.size() > Cover::kMostBytes) return std::nullopt;
  const auto header = headerOf(Bytes(bytes));
  const auto isSide = [](std::uint32_t pixels) {
    return pixels >= 1 && pixels <= Cover::kMostPixelsASide;
  };
  if (!header || !isSide(header->width) || !isSide(header->height)) return std::nullopt;
  return header;
}

}  // namespace orvel
