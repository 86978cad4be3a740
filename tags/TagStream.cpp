#include "tags/TagStream.h"

#include <taglib/id3v2synchdata.h>

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include "tags/Id3v2Guard.h"

namespace orvel {

namespace {

constexpr std::int64_t kByteBudget = 32LL << 20;
constexpr int kReadBudget = 20000;
constexpr int kReadsPerClock = 16;
/// Smaller tags and pictures are read in one piece.
constexpr unsigned int kLargeTagBytes = 16384;
constexpr int kMostPictures = 100;
/// Each takes up to four reads of the budget.
constexpr int kMostSingleFrames = 500;
constexpr std::int64_t kFrameHeaderBytes = 10;
/// One byte of data, in ID3v2.3 and ID3v2.4.
constexpr std::string_view kEmptyPicture("APIC\0\0\0\1\0\0\0", 11);

/// True when `id` has `length` characters that can name a frame.
bool isFrameId(const TagLib::ByteVector& id, unsigned int length = 4) {
  return id.size() >= length && std::all_of(id.begin(), id.begin() + length, [](char c) {
           return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
         });
}

/// True when a frame begins with `header`, which is not compressed, encrypted or the like. Old
/// writers put names of ID3v2.2, which have three characters, into ID3v2.3.
bool isPlainFrame(const TagLib::ByteVector& header, unsigned int version) {
  if (header.size() < kFrameHeaderBytes || header[9] != 0) return false;
  return isFrameId(header, version == 3 && header[3] == '\0' ? 3 : 4);
}

/// The size of a frame's data as TagLib understands it: some writers of 2.4 tags store plain
/// instead of synchsafe sizes. `frameFollows(size)` returns true when another frame starts after
/// `size` bytes of data.
template <class FrameFollows>
std::int64_t frameSize(const TagLib::ByteVector& header, unsigned int version,
                       FrameFollows frameFollows) {
  const std::int64_t plain = header.toUInt(4U);
  if (version == 3) return plain;
  const std::int64_t safe = TagLib::ID3v2::SynchData::toUInt(header.mid(4, 4));
  return safe > 127 && !frameFollows(safe) && frameFollows(plain) ? plain : safe;
}

/// Fills in the header of each picture in an atom, and the whole rest from the first one on that is
/// none. `fill(at, bytes)` reads up to so many bytes of `data`.
template <class Fill>
void fillMp4Headers(const TagLib::ByteVector& data, Fill fill) {
  std::int64_t at = 0;
  for (int count = 0; at < data.size(); ++count) {
    fill(at, kMp4HeaderBytes);
    const std::int64_t bytes = data.toUInt(static_cast<unsigned int>(at));
    if (bytes < kMp4HeaderBytes || count == kMostPictures) return fill(at, data.size());
    at += bytes;
  }
}

}  // namespace

TagStream::TagStream(std::string streamName, std::stop_token token,
                     std::chrono::milliseconds timeBudget)
    : fileName(std::move(streamName)),
      stopped(std::move(token)),
      deadline(std::chrono::steady_clock::now() + timeBudget),
      bytesLeft(kByteBudget),
      readsLeft(kReadBudget) {}

void TagStream::setSize(std::int64_t bytes) {
  size = static_cast<StreamOffset>(
      std::clamp<std::int64_t>(bytes, 0, std::numeric_limits<StreamOffset>::max()));
}

TagLib::ByteVector TagStream::readBlock(StreamBytes length) {
  // TagLib reads every ID3v2 tag as its header and then the whole rest.
  if (const std::optional<TagLib::ByteVector> header = std::exchange(possibleTagHeader, {})) {
    const TagLib::ID3v2::Header tag(*header);
    if (tag.tagSize() == length) return readTag(tag);
  }
  const PictureForm form = formOfPicture(length);
  if (form != PictureForm::None) return readHeadersOfPicture(form, length);
  TagLib::ByteVector data = readUnguarded(length);
  if (data.size() == TagLib::ID3v2::Header::size()) possibleTagHeader = data;
  return data;
}

TagLib::ByteVector TagStream::readTag(const TagLib::ID3v2::Header& header) {
  const unsigned int version = header.majorVersion();
  const bool isPlain = (version == 3 || version == 4) && !header.unsynchronisation() &&
                       !header.extendedHeader() && !header.footerPresent();
  const unsigned int bytes = header.tagSize();
  TagLib::ByteVector frames = isPlain && !keepsPictures && bytes > kLargeTagBytes
                                  ? readWithoutPictures(bytes, version)
                                  : readUnguarded(bytes);
  defuseId3v2Frames(header, frames);
  return frames;
}

/// Reads a tag of `length` bytes, but an empty picture in place of each large one: pictures are
/// most of the bytes that TagLib would fetch from a slow stick. TagLib sees a shorter tag with the
/// same frames. Reads the rest in one piece from the first frame on whose end might not be where
/// TagLib sees it.
TagLib::ByteVector TagStream::readWithoutPictures(unsigned int length, unsigned int version) {
  const std::int64_t end = std::min<std::int64_t>(size, std::int64_t{position} + length);
  std::int64_t at = position;
  const auto readAtOffset = [&](std::int64_t offset, std::int64_t bytes) {
    position = static_cast<StreamOffset>(std::min(offset, end));
    return readUnguarded(
        static_cast<StreamBytes>(std::clamp<std::int64_t>(end - offset, 0, bytes)));
  };
  TagLib::ByteVector kept;
  for (int count = 0; count < kMostSingleFrames; ++count) {
    const TagLib::ByteVector header = readAtOffset(at, kFrameHeaderBytes);
    if (!isPlainFrame(header, version)) break;
    const std::int64_t data = at + kFrameHeaderBytes;
    const std::int64_t dataSize = frameSize(header, version, [&](std::int64_t next) {
      return isFrameId(readAtOffset(data + next, 4));
    });
    // TagLib reads no further than an empty frame, or one that is longer than the tag.
    if (dataSize == 0 || dataSize > end - at) break;
    if (header.startsWith("APIC") && dataSize > kBlockBytes) {
      kept.append(TagLib::ByteVector(kEmptyPicture.data(), kEmptyPicture.size()));
    } else {
      kept.append(header);
      kept.append(readAtOffset(data, dataSize));
    }
    at = data + dataSize;
  }
  const TagLib::ByteVector next = readAtOffset(at, 1);
  const bool isPadding = next.isEmpty() || next[0] == '\0';
  if (!isPadding) kept.append(readAtOffset(at, end - at));
  position = static_cast<StreamOffset>(end);
  return kept;
}

PictureForm TagStream::formOfPicture(StreamBytes length) {
  constexpr auto kBefore = static_cast<StreamOffset>(kBytesBeforePicture);
  if (keepsPictures || length <= kLargeTagBytes || position < kBefore) return PictureForm::None;
  position -= kBefore;
  const TagLib::ByteVector before = readUnguarded(kBytesBeforePicture);
  position = position - static_cast<StreamOffset>(before.size()) + kBefore;
  return pictureFormOf({before.data(), before.size()}, length);
}

/// Puts zeros in place of all that TagLib does not look at.
TagLib::ByteVector TagStream::readHeadersOfPicture(PictureForm form, StreamBytes length) {
  if (position >= size || spent()) return {};
  const StreamOffset start = position;
  const long wanted = bytesToRead(length);
  TagLib::ByteVector data(static_cast<unsigned int>(wanted), 0);
  const auto fill = [&](std::int64_t at, std::int64_t bytes) {
    position = static_cast<StreamOffset>(start + at);
    const TagLib::ByteVector piece = readPiece(std::min(bytes, wanted - at));
    std::copy(piece.begin(), piece.end(), data.begin() + at);
  };
  if (form == PictureForm::Mp4) {
    fillMp4Headers(data, fill);
  } else {
    fill(0, kBlockBytes);
  }
  position = start + wanted;
  bytesLeft -= wanted;
  return data;
}

/// The bytes of a read that file and budget allow; they fit a long.
long TagStream::bytesToRead(StreamBytes length) const {
  return static_cast<long>(std::min<std::int64_t>(
      {size - position, bytesLeft,
       static_cast<std::int64_t>(std::min<std::uint64_t>(length, kByteBudget))}));
}

TagLib::ByteVector TagStream::readUnguarded(StreamBytes length) {
  if (position >= size || spent()) return {};
  const long wanted = bytesToRead(length);
  TagLib::ByteVector data = readPiece(wanted);
  position += data.size();
  bytesLeft -= data.size();
  return data;
}

/// Leaves position and budget alone.
TagLib::ByteVector TagStream::readPiece(long length) {
  return length > kBlockBytes ? readDirectly(length) : readCached(length);
}

TagLib::ByteVector TagStream::readDirectly(long length) {
  TagLib::ByteVector data(static_cast<unsigned int>(length), 0);
  data.resize(static_cast<unsigned int>(readAt(position, data.data(), length)));
  return data;
}

/// Reads at most one block's length, which spans two blocks at most.
TagLib::ByteVector TagStream::readCached(long length) {
  const CachedBlock& first = block(position - position % kBlockBytes);
  const auto offset = static_cast<long>(position - first.start);
  const long inFirst = std::clamp(first.bytes - offset, 0L, length);
  TagLib::ByteVector data(first.data.data() + offset, static_cast<unsigned int>(inFirst));
  if (inFirst < length && first.bytes == kBlockBytes) {
    const CachedBlock& second = block(position - offset + kBlockBytes);
    data.append(TagLib::ByteVector(
        second.data.data(), static_cast<unsigned int>(std::min(second.bytes, length - inFirst))));
  }
  return data;
}

void TagStream::seek(StreamOffset offset, Position from) {
  const StreamOffset base = from == Beginning ? 0 : from == Current ? position : size;
  StreamOffset target = 0;
  // Ignores a seek to before the beginning or past the range of an offset.
  if (__builtin_add_overflow(base, offset, &target) || target < 0) return;
  position = target;
  possibleTagHeader.reset();
}

bool TagStream::spent() {
  wasInterrupted = wasInterrupted || stopped.stop_requested();
  if (wasInterrupted || hadReadError || bytesLeft <= 0 || readsLeft <= 0) return true;
  // Reading the clock costs as much as a small read.
  if (--readsLeft % kReadsPerClock != 0) return false;
  wasLate = std::chrono::steady_clock::now() >= deadline;
  if (wasLate) readsLeft = 0;
  return readsLeft == 0;
}

const TagStream::CachedBlock& TagStream::block(StreamOffset start) {
  for (const CachedBlock& cached : cache) {
    if (cached.start == start) return cached;
  }
  CachedBlock& victim = cache[nextVictim];
  nextVictim = (nextVictim + 1) % cache.size();
  // Asking past the end would cost another read to find the end.
  victim.bytes = readAt(start, victim.data.data(),
                        static_cast<long>(std::min<StreamOffset>(kBlockBytes, size - start)));
  victim.start = start;
  return victim;
}

}  // namespace orvel
