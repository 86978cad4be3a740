#include "tags/TagStream.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "tags/Id3v2Frames.h"
#include "tags/Id3v2Guard.h"

namespace orvel {

namespace {

constexpr std::int64_t kByteBudget = 32LL << 20;
constexpr int kReadBudget = 20000;
constexpr int kReadsPerClock = 16;
/// Smaller tags are read in one piece.
constexpr unsigned long kLargeTagBytes = 16384;

}  // namespace

TagStream::TagStream(std::string streamName, std::stop_token token,
                     std::chrono::milliseconds timeBudget)
    : fileName(std::move(streamName)),
      stopped(std::move(token)),
      deadline(std::chrono::steady_clock::now() + timeBudget),
      bytesLeft(kByteBudget),
      readsLeft(kReadBudget) {}

void TagStream::setSize(std::int64_t bytes) {
  size = static_cast<long>(std::clamp<std::int64_t>(bytes, 0, std::numeric_limits<long>::max()));
}

TagLib::ByteVector TagStream::readBlock(unsigned long length) {
  // TagLib reads every ID3v2 tag as ten bytes and then the whole rest.
  const bool isTag = readHeaderLast && id3v2::tagSize(lastRead) == length;
  const bool isPlainTag = isTag && (lastRead[3] == 3 || lastRead[3] == 4) && lastRead[5] == 0;
  TagLib::ByteVector data = isPlainTag && length > kLargeTagBytes
                                ? readWithoutPictures(length, static_cast<unsigned>(lastRead[3]))
                                : readUnguarded(length);
  if (isTag) defuseId3v2Frames(lastRead, data);
  readHeaderLast = data.size() == id3v2::kTagHeaderBytes;
  if (readHeaderLast) lastRead = data;
  return data;
}

/// Reads the frames of a tag except its large pictures, which are most of the bytes that TagLib
/// would fetch from a slow stick. TagLib sees a shorter tag. `length` is that of the tag.
TagLib::ByteVector TagStream::readWithoutPictures(unsigned long length, unsigned int version) {
  const std::int64_t end =
      std::min<std::int64_t>(size, position + static_cast<std::int64_t>(length));
  std::int64_t at = position;
  const auto readAtOffset = [&](std::int64_t offset, std::int64_t bytes) {
    position = static_cast<long>(std::min(offset, end));
    return readUnguarded(
        static_cast<unsigned long>(std::clamp<std::int64_t>(end - offset, 0, bytes)));
  };
  TagLib::ByteVector frames;
  while (true) {
    const TagLib::ByteVector header = readAtOffset(at, id3v2::kFrameHeaderBytes);
    const id3v2::Bytes bytes = id3v2::bytesOf(header);
    if (bytes.size() < id3v2::kFrameHeaderBytes || !id3v2::isFrameId(bytes)) break;
    const std::int64_t data = at + std::int64_t{id3v2::kFrameHeaderBytes};
    const auto dataSize =
        static_cast<std::int64_t>(id3v2::frameSize(bytes, version, [&](std::size_t next) {
          return id3v2::isFrameId(
              id3v2::bytesOf(readAtOffset(data + static_cast<std::int64_t>(next), 4)));
        }));
    const bool isPlain = bytes[8] == 0 && bytes[9] == 0;
    if (!header.startsWith("APIC") || !isPlain || dataSize <= kBlockBytes) {
      frames.append(header);
      frames.append(readAtOffset(data, dataSize));
    }
    at = data + dataSize;
  }
  position = static_cast<long>(end);
  return frames;
}

TagLib::ByteVector TagStream::readUnguarded(unsigned long length) {
  if (position >= size || spent()) return {};
  const long wanted =
      std::min({size - position,
                static_cast<long>(std::min<unsigned long>(length, std::numeric_limits<int>::max())),
                static_cast<long>(bytesLeft)});
  TagLib::ByteVector data = wanted > kBlockBytes ? readDirectly(wanted) : readCached(wanted);
  position += static_cast<long>(data.size());
  bytesLeft -= data.size();
  return data;
}

TagLib::ByteVector TagStream::readDirectly(long length) {
  TagLib::ByteVector data(static_cast<unsigned int>(length), 0);
  data.resize(static_cast<unsigned int>(readAt(position, data.data(), length)));
  return data;
}

/// Reads at most one block's length, which spans two blocks at most.
TagLib::ByteVector TagStream::readCached(long length) {
  const CachedBlock& first = block(position - position % kBlockBytes);
  const long offset = position - first.start;
  const long inFirst = std::clamp(first.bytes - offset, 0L, length);
  TagLib::ByteVector data(first.data.data() + offset, static_cast<unsigned int>(inFirst));
  if (inFirst < length && first.bytes == kBlockBytes) {
    const CachedBlock& second = block(position - offset + kBlockBytes);
    data.append(TagLib::ByteVector(
        second.data.data(), static_cast<unsigned int>(std::min(second.bytes, length - inFirst))));
  }
  return data;
}

void TagStream::seek(long offset, Position from) {
  const long base = from == Beginning ? 0 : from == Current ? position : size;
  long target = 0;
  // Ignores a seek to before the beginning or past the range of a long.
  if (__builtin_add_overflow(base, offset, &target) || target < 0) return;
  position = target;
  readHeaderLast = false;
}

bool TagStream::spent() {
  wasInterrupted = wasInterrupted || stopped.stop_requested();
  if (wasInterrupted || hadReadError || bytesLeft <= 0 || readsLeft <= 0) return true;
  // Reading the clock costs as much as a small read.
  if (--readsLeft % kReadsPerClock != 0) return false;
  if (std::chrono::steady_clock::now() >= deadline) readsLeft = 0;
  return readsLeft == 0;
}

const TagStream::CachedBlock& TagStream::block(long start) {
  for (const CachedBlock& cached : cache) {
    if (cached.start == start) return cached;
  }
  CachedBlock& victim = cache[nextVictim];
  nextVictim = (nextVictim + 1) % cache.size();
  // Asking past the end would cost another read to find the end.
  victim.bytes = readAt(start, victim.data.data(), std::min(kBlockBytes, size - start));
  victim.start = start;
  return victim;
}

}  // namespace orvel
