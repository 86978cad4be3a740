#include "phones/PartialObjectStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace orvel {

namespace {

/// Length of the first piece. Most tags without a cover fit in it.
constexpr std::int64_t kHeadBytes = 12288;

}  // namespace

PartialObjectStream::PartialObjectStream(std::shared_ptr<Device> readDevice, DeviceObject readTrack,
                                         std::stop_token token)
    : TagStream(readTrack.name, std::move(token)),
      device(std::move(readDevice)),
      track(std::move(readTrack)) {
  setSize(static_cast<std::int64_t>(track.size));
}

long PartialObjectStream::readAt(std::int64_t start, char* target, long length) {
  long filled = 0;
  while (filled < length) {
    const std::int64_t at = start + filled;
    const std::int64_t pieceEnd = pieceStart + static_cast<std::int64_t>(piece.size());
    if (at < pieceStart || at >= pieceEnd) {
      if (!fetch(at, length - filled)) break;
      continue;
    }
    const auto copied = static_cast<long>(std::min<std::int64_t>(length - filled, pieceEnd - at));
    std::memcpy(target + filled, piece.data() + (at - pieceStart),
                static_cast<std::size_t>(copied));
    filled += copied;
  }
  return filled;
}

bool PartialObjectStream::fetch(std::int64_t start, std::int64_t length) {
  const std::int64_t wanted = start == 0 ? std::max(length, kHeadBytes) : length;
  const auto offset = static_cast<std::uint64_t>(start);
  const auto rest =
      std::min<std::uint64_t>(track.size - offset, static_cast<std::uint64_t>(wanted));
  piece.clear();
  if (offset >= track.size) return false;
  const auto asked = std::chrono::steady_clock::now();
  const t_status status = device->readBytes(track, offset, static_cast<std::uint32_t>(rest), piece);
  waited += std::chrono::steady_clock::now() - asked;
  if (status != STATUS_OK) piece.clear();
  // A device that takes the whole time of a file keeps the parser from reading it.
  if (piece.empty() || waited >= kTimeBudget) noteReadError();
  pieceStart = start;
  return !piece.empty();
}

}  // namespace orvel
