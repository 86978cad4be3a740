#include "tags/Id3v2Guard.h"

#include <taglib/id3v2synchdata.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "tags/Id3v2Frames.h"

namespace orvel {

namespace {

using id3v2::isFrameId;
using id3v2::kFrameHeaderBytes;
using Bytes = std::span<unsigned char>;

constexpr std::size_t kLengthBytes = 4;  ///< before the data of a compressed frame
constexpr std::size_t kExpandedLimit = std::size_t{4} << 20;
constexpr int kMostFrames = 20000;
constexpr unsigned char kTagUnsynchronised = 0x80;
constexpr unsigned char kTagHasExtendedHeader = 0x40;

Bytes bytesOf(TagLib::ByteVector& data) {
  return {reinterpret_cast<unsigned char*>(data.data()), data.size()};
}

/// True when inflating `data` exceeds the limit. Ignores the length that the tag states.
bool expandsTooFar(Bytes data) {
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) return true;
  std::array<unsigned char, 16384> scratch;
  stream.next_in = data.data();
  stream.avail_in = static_cast<uInt>(data.size());
  int result = Z_OK;
  while (result == Z_OK && stream.total_out <= kExpandedLimit) {
    stream.next_out = scratch.data();
    stream.avail_out = static_cast<uInt>(scratch.size());
    result = inflate(&stream, Z_NO_FLUSH);
  }
  const bool tooFar = stream.total_out > kExpandedLimit;
  inflateEnd(&stream);
  return tooFar;
}

/// Walks and defuses the frames of one tag.
class FrameWalk {
 public:
  /// @param framesAreUnsynchronised  TagLib undoes the unsynchronisation frame by frame
  FrameWalk(Bytes tagFrames, unsigned int majorVersion, bool framesAreUnsynchronised)
      : frames(tagFrames), version(majorVersion), unsynchronised(framesAreUnsynchronised) {}

  /// Returns true when it changed anything.
  bool run() {
    std::size_t at = 0;
    for (int count = 0; isFrameId(frames.subspan(at)); ++count) {
      if (at + kFrameHeaderBytes > frames.size()) break;
      if (count == kMostFrames) {
        std::fill(frames.begin() + static_cast<std::ptrdiff_t>(at), frames.end(), 0);
        return true;
      }
      const std::size_t size = frameSize(at);
      defuse(at);
      if (isChapter(at)) defuseInside(at + kFrameHeaderBytes, size);
      at += kFrameHeaderBytes + size;
    }
    return changed;
  }

 private:
  [[nodiscard]] bool isCompressed(std::size_t at) const {
    return (frames[at + 9] & (version == 3 ? 0x80U : 0x08U)) != 0;
  }

  [[nodiscard]] bool isChapter(std::size_t at) const {
    const std::string_view id(reinterpret_cast<const char*>(&frames[at]), 4);
    return id == "CHAP" || id == "CTOC";
  }

  /// Clamped to the available bytes: sums with the size that a frame claims could overflow.
  [[nodiscard]] std::size_t frameSize(std::size_t at) const {
    const Bytes rest = frames.subspan(at + kFrameHeaderBytes);
    const auto frameFollows = [&](std::size_t size) {
      return size < rest.size() && isFrameId(rest.subspan(size));
    };
    return std::min(rest.size(),
                    id3v2::frameSize(frames.subspan(at, kFrameHeaderBytes), version, frameFollows));
  }

  /// Breaks the zlib header of a compressed frame that is not to be trusted.
  void defuse(std::size_t at) {
    const std::size_t data = at + kFrameHeaderBytes + kLengthBytes;
    if (!isCompressed(at) || data + 2 > frames.size()) return;
    if (!isChapter(at) && !expandsTooFar(at)) return;
    frames[data] = 0;
    frames[data + 1] = 0;
    changed = true;
  }

  [[nodiscard]] bool expandsTooFar(std::size_t at) const {
    const std::size_t data = at + kFrameHeaderBytes;
    const bool frameUnsynchronised = version == 4 && (frames[at + 9] & 0x02U) != 0;
    // TagLib inflates to the end of the zlib stream, even past the end of the frame.
    if (!unsynchronised && !frameUnsynchronised) {
      return orvel::expandsTooFar(frames.subspan(data + kLengthBytes));
    }
    TagLib::ByteVector decoded =
        TagLib::ID3v2::SynchData::decode({reinterpret_cast<const char*>(&frames[data]),
                                          static_cast<unsigned int>(frames.size() - data)});
    const Bytes bytes = bytesOf(decoded);
    return orvel::expandsTooFar(bytes.subspan(std::min(kLengthBytes, bytes.size())));
  }

  /// A chapter holds frames of its own after texts of any length, so every offset is tried.
  void defuseInside(std::size_t begin, std::size_t size) {
    const std::size_t end = begin + size;
    for (std::size_t at = begin; at + kFrameHeaderBytes < end; ++at) {
      if (isFrameId(frames.subspan(at))) defuse(at);
    }
  }

  Bytes frames;
  unsigned int version;
  bool unsynchronised;
  bool changed = false;
};

/// The frames: the data without an extended header.
Bytes framesOf(TagLib::ByteVector& data, unsigned char tagFlags) {
  const Bytes all = bytesOf(data);
  if ((tagFlags & kTagHasExtendedHeader) == 0 || all.size() < 4) return all;
  const std::size_t extended = id3v2::synchsafe(all);
  return extended <= all.size() ? all.subspan(extended) : all;
}

}  // namespace

void defuseId3v2Frames(const TagLib::ByteVector& header, TagLib::ByteVector& frames) {
  const unsigned int version = static_cast<unsigned char>(header[3]);
  if (version != 3 && version != 4) return;
  const auto flags = static_cast<unsigned char>(header[5]);
  const bool unsynchronised = (flags & kTagUnsynchronised) != 0;
  if (version == 4 || !unsynchronised) {
    FrameWalk(framesOf(frames, flags), version, unsynchronised).run();
    return;
  }
  // TagLib undoes the unsynchronisation of the whole tag first. Walk the decoded frames, and blank
  // the tag when any of them is dangerous.
  TagLib::ByteVector decoded = TagLib::ID3v2::SynchData::decode(frames);
  if (FrameWalk(framesOf(decoded, flags), version, false).run()) {
    const Bytes all = bytesOf(frames);
    std::fill(all.begin(), all.end(), 0);
  }
}

}  // namespace orvel
