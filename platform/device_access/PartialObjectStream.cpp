#include "platform/device_access/PartialObjectStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace orvel {

namespace {

/// The first request: most tags without a cover lie in it.
constexpr long kHeadBytes = 12288;

}  // namespace

PartialObjectStream::PartialObjectStream(std::shared_ptr<Device> readDevice, DeviceObject readTrack,
                                         std::stop_token token)
    : TagStream(readTrack.name, std::move(token)),
      device(std::move(readDevice)),
      track(std::move(readTrack)) {
  setSize(static_cast<std::int64_t>(track.size));
}

long PartialObjectStream::readAt(long start, char* target, long length) {
  long filled = 0;
  while (filled < length) {
    const long at = start + filled;
    const auto pieceEnd = pieceStart + static_cast<long>(piece.size());
    if (at < pieceStart || at >= pieceEnd) {
      if (!fetch(at, length - filled)) break;
      continue;
    }
    const long copied = std::min(length - filled, pieceEnd - at);
    std::memcpy(target + filled, piece.data() + (at - pieceStart),
                static_cast<std::size_t>(copied));
    filled += copied;
  }
  return filled;
}

bool PartialObjectStream::fetch(long start, long length) {
  const long wanted = start == 0 ? std::max(length, kHeadBytes) : length;
  const auto offset = static_cast<std::uint64_t>(start);
  const auto rest =
      std::min<std::uint64_t>(track.size - offset, static_cast<std::uint64_t>(wanted));
  piece.clear();
  if (offset >= track.size) return false;
  if (device->readBytes(track, offset, static_cast<std::uint32_t>(rest), piece) != STATUS_OK) {
    noteReadError();
    piece.clear();
  }
  pieceStart = start;
  return !piece.empty();
}

}  // namespace orvel
