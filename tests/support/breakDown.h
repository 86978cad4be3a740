#pragma once

#include <cstddef>
#include <cstring>
#include <new>

/// Ways in which a parser breaks down.
namespace orvel::test::breakDown {

inline void hang() {
  volatile bool forever = true;
  while (forever) {
  }
}

inline void crash() {
  volatile int* nowhere = nullptr;
  *nowhere = 1;  // NOLINT(clang-analyzer-core.NullDereference)
}

inline void bloat() {
  constexpr std::size_t kStep = std::size_t{1} << 20;
  while (true) std::memset(::operator new(kStep), 1, kStep);
}

}  // namespace orvel::test::breakDown
