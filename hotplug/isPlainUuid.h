#pragma once

#include <algorithm>
#include <string_view>

namespace orvel::hotplug {

/// True for the UUID of a file system as tools write it: at most 64 letters, digits and "-". A
/// stranger chose it; such a one is nothing but a name wherever it is used.
inline bool isPlainUuid(std::string_view text) {
  constexpr std::size_t kMostCharacters = 64;
  const auto isPlain = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
  };
  return !text.empty() && text.size() <= kMostCharacters &&
         std::all_of(text.begin(), text.end(), isPlain);
}

}  // namespace orvel::hotplug
