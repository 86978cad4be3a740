#include "base/Limits.h"

#include <atomic>

namespace orvel {

namespace {

std::atomic<std::uint32_t> songs{Limits().songs};
std::atomic<std::uint32_t> folders{Limits().folders};
std::atomic<long> databaseBytes{Limits().databaseBytes};

}  // namespace

Limits limits() noexcept {
  return {songs, folders, databaseBytes};
}

void setLimits(const Limits& chosen) noexcept {
  songs = chosen.songs;
  folders = chosen.folders;
  databaseBytes = chosen.databaseBytes;
}

}  // namespace orvel
