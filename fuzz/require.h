#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/Utf8.h"

namespace orvel::fuzz {

/// Ends the process, as a fuzzer wants it, when a promise is broken.
inline void require(bool condition, const char* promise) {
  if (condition) return;
  std::fprintf(stderr, "violated: %s\n", promise);
  std::abort();
}

inline bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    if (!utf8::take(text).valid) return false;
  }
  return true;
}

inline bool hasControls(std::string_view text) {
  while (!text.empty()) {
    const char32_t c = utf8::take(text).code;
    if (c < 0x20 || (c >= 0x7F && c < 0xA0)) return true;
  }
  return false;
}

}  // namespace orvel::fuzz
