#include "tags/Id3v2Guard.h"

#include <taglib/id3v2frame.h>
#include <taglib/id3v2synchdata.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace orvel {

namespace {

using TagLib::ByteVector;
namespace SynchData = TagLib::ID3v2::SynchData;

constexpr std::size_t kExpansionLimit = std::size_t{4} << 20;
/// TagLib copies the rest of the tag for each compressed frame: this bounds their number.
constexpr std::size_t kLeastExpansion = std::size_t{64} << 10;
constexpr std::size_t kTextLimit = std::size_t{2} << 20;
/// Genres take quadratic time.
constexpr std::size_t kGenreLimit = std::size_t{32} << 10;
constexpr int kMostFrames = 20000;
/// No song record needs them. Chapters hold frames of their own; lyrics without an end take
/// quadratic time; the others are texts, whatever their names.
constexpr std::array<std::string_view, 12> kRefused{"CHAP", "CTOC", "SYLT", "SLT", "WFED", "WFD",
                                                    "MVNM", "MVN",  "MVIN", "MVI", "GRP1", "GP1"};
constexpr unsigned int kLengthBytes = 4;  ///< before the data of a frame that states their length

/// Lends TagLib's own reading of frame headers, so that the guard and the parser agree about it.
struct Frame : TagLib::ID3v2::Frame {
  using Header = TagLib::ID3v2::Frame::Header;
};

struct Expansion {
  std::size_t work = 0;    ///< bytes read and written
  std::size_t result = 0;  ///< bytes written
};

/// Inflates as TagLib does: to the end of the stream, past the end of the frame if need be. Gives
/// up when the work exceeds `limit`.
Expansion expand(const ByteVector& data, std::size_t limit) {
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) return {limit + 1, 0};
  std::array<unsigned char, 16384> scratch;
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  stream.avail_in = static_cast<uInt>(data.size());
  int result = Z_OK;
  while (result == Z_OK && stream.total_in + stream.total_out <= limit) {
    stream.next_out = scratch.data();
    stream.avail_out = static_cast<uInt>(scratch.size());
    result = inflate(&stream, Z_NO_FLUSH);
  }
  inflateEnd(&stream);
  return {stream.total_in + stream.total_out, stream.total_out};
}

/// An allowance of bytes for a whole tag.
class Budget {
 public:
  explicit Budget(std::size_t bytes) : left(bytes) {}

  [[nodiscard]] std::size_t rest() const { return left; }
  /// Takes `bytes` if they are there.
  bool spend(std::size_t bytes) {
    if (bytes > left) return false;
    left -= bytes;
    return true;
  }
  void close() { left = 0; }

 private:
  std::size_t left;
};

/// Walks over the frames of one tag and defuses them.
class FrameWalk {
 public:
  FrameWalk(const TagLib::ID3v2::Header& header, ByteVector& tagFrames)
      : frames(tagFrames),
        bytes(tagFrames.data()),
        version(header.majorVersion()),
        headerBytes(version < 3 ? 6 : 10),
        unsynchronised(header.unsynchronisation()) {}

  /// Begins at the frame at `at`. Returns true when it changed anything.
  bool run(unsigned int at) {
    // TagLib stops earlier in some tags; nothing beyond matters.
    for (int count = 0; at < frames.size() && bytes[at] != 0; ++count) {
      if (count == kMostFrames) {
        std::fill(bytes + at, bytes + frames.size(), '\0');
        return true;
      }
      const ByteVector rest = frames.mid(at);
      const Frame::Header header(rest, version);
      const unsigned int size = header.frameSize();
      if (size == 0 || size > rest.size()) break;
      if (!header.encryption() && !isHarmless(rest, header)) disguise(at);
      at += headerBytes + size;
    }
    return changed;
  }

 private:
  /// @param frame  from its header to the end of the tag
  bool isHarmless(const ByteVector& frame, const Frame::Header& header) {
    const std::string_view id = idOf(frame);
    if (std::ranges::find(kRefused, id) != kRefused.end()) return false;
    const std::optional<std::size_t> length = fieldBytes(frame, header);
    if (!length) return false;
    const bool isGenre = id == "TCON" || id == "TCO";
    if (isGenre && !genres.spend(*length)) return false;
    return id[0] != 'T' || texts.spend(*length);
  }

  /// Old writers put names of ID3v2.2, which have three characters, into ID3v2.3.
  [[nodiscard]] std::string_view idOf(const ByteVector& frame) const {
    const bool isShort = version < 3 || (version == 3 && frame[3] == '\0');
    return {frame.data(), isShort ? 3U : 4U};
  }

  /// The number of bytes that TagLib takes for the frame's data; nothing when it is too large.
  std::optional<std::size_t> fieldBytes(const ByteVector& frame, const Frame::Header& header) {
    const unsigned int size = header.frameSize();
    if (!header.compression() && !header.dataLengthIndicator()) return size;
    const ByteVector data = frame.mid(headerBytes);
    const bool isDecodedAlone = version > 3 && (unsynchronised || header.unsynchronisation());
    if (header.compression()) {
      const ByteVector own = isDecodedAlone ? SynchData::decode(data.mid(0, size)) : data;
      return expandedBytes(own.mid(kLengthBytes));
    }
    const unsigned int stated = SynchData::toUInt(data.mid(0, kLengthBytes));
    const unsigned int length = std::min(stated, isDecodedAlone ? size : data.size());
    if (length <= size || expansions.spend(length - size)) return length;
    return {};
  }

  std::optional<std::size_t> expandedBytes(const ByteVector& compressed) {
    if (!expansions.spend(kLeastExpansion)) return {};
    const Expansion expansion = expand(compressed, expansions.rest());
    if (expansions.spend(expansion.work)) return expansion.result;
    // Trying further ones costs too much.
    expansions.close();
    return {};
  }

  /// TagLib leaves encrypted and unknown frames alone.
  void disguise(unsigned int at) {
    changed = true;
    if (version < 3) {
      bytes[at] = 'X';
    } else {
      bytes[at + 9] = static_cast<char>(bytes[at + 9] | (version == 3 ? 0x40 : 0x04));
    }
  }

  const ByteVector& frames;
  char* bytes;  ///< of `frames`; writing through these copies nothing
  unsigned int version;
  unsigned int headerBytes;
  bool unsynchronised;
  bool changed = false;
  Budget expansions{kExpansionLimit};
  Budget texts{kTextLimit};
  Budget genres{kGenreLimit};
};

/// Returns true when it changed anything.
bool defuse(const TagLib::ID3v2::Header& header, ByteVector& frames) {
  const unsigned int extended = header.extendedHeader() ? SynchData::toUInt(frames.mid(0, 4)) : 0;
  return FrameWalk(header, frames).run(extended <= frames.size() ? extended : 0);
}

}  // namespace

void defuseId3v2Frames(const TagLib::ID3v2::Header& header, ByteVector& frames) {
  if (!header.unsynchronisation() || header.majorVersion() > 3) {
    defuse(header, frames);
    return;
  }
  // TagLib undoes the unsynchronisation of the whole tag first.
  ByteVector decoded = SynchData::decode(frames);
  if (defuse(header, decoded)) {
    frames = decoded.replace(ByteVector("\xFF", 1), ByteVector("\xFF\0", 2));
  }
}

}  // namespace orvel
