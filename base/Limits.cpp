#include "base/Limits.h"

#include <atomic>

namespace orvel {

namespace {

std::atomic<std::uint32_t> songs{Limits().songs};
std::atomic<long> databaseBytes{Limits().databaseBytes};

}  // namespace

Limits limits() noexcept {
  return {songs, databaseBytes};
}

void setLimits(const Limits& chosen) noexcept {
  songs = chosen.songs;
  databaseBytes = chosen.databaseBytes;
}

}  // namespace orvel
