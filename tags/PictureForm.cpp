#include "tags/PictureForm.h"

#include "tags/Bytes.h"

namespace orvel {

namespace {

/// A byte with the type, whose highest bit marks the last block, and three with the length.
bool isFlacBlock(const Bytes& before, std::uint64_t length) {
  constexpr std::uint32_t kPictureBlock = 6;
  return (before.byte(22) & 0x7F) == kPictureBlock && (before.big32(22) & 0xFFFFFF) == length;
}

bool isMp4Atom(const Bytes& before, std::uint64_t length) {
  constexpr std::uint32_t kHeaderBytes = 8;
  return before.has(22, "covr") && before.big32(18) == length + kHeaderBytes;
}

/// The name comes after the length in a metadata library, and before the type and the length in an
/// extended content description.
bool isAsfAttribute(const Bytes& before, std::uint64_t length) {
  using namespace std::string_view_literals;
  constexpr auto kName = "W\0M\0/\0P\0i\0c\0t\0u\0r\0e\0\0\0"sv;
  constexpr std::uint32_t kBytesType = 1;
  if (before.has(4, kName)) return before.little32(0) == length;
  return before.has(0, kName) && before.little16(22) == kBytesType && before.little16(24) == length;
}

}  // namespace

PictureForm pictureFormOf(std::string_view before, std::uint64_t length) {
  if (before.size() < kBytesBeforePicture) return PictureForm::None;
  const Bytes bytes(before);
  if (isFlacBlock(bytes, length)) return PictureForm::Flac;
  if (isMp4Atom(bytes, length)) return PictureForm::Mp4;
  if (isAsfAttribute(bytes, length)) return PictureForm::Asf;
  return PictureForm::None;
}

}  // namespace orvel
