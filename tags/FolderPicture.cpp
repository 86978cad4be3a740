#include "tags/FolderPicture.h"

#include <strings.h>

#include <algorithm>
#include <array>

namespace orvel {

namespace {

constexpr std::array<std::string_view, 4> kNames{"cover", "folder", "front", "album"};
constexpr std::array<std::string_view, 6> kEndings{"jpg", "jpeg", "png", "webp", "gif", "bmp"};

/// The index of `text` in `texts`; their number when it is not there.
template <std::size_t Count>
std::size_t find(const std::array<std::string_view, Count>& texts, std::string_view text) {
  const auto found = std::find_if(texts.begin(), texts.end(), [&](std::string_view one) {
    return one.size() == text.size() && strncasecmp(one.data(), text.data(), text.size()) == 0;
  });
  return static_cast<std::size_t>(found - texts.begin());
}

}  // namespace

bool isPictureName(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot != std::string_view::npos && find(kEndings, name.substr(dot + 1)) < kEndings.size();
}

std::optional<std::size_t> rankOfFolderPicture(std::string_view name) {
  const std::size_t dot = name.find('.');
  if (dot == std::string_view::npos) return std::nullopt;
  const std::size_t stem = find(kNames, name.substr(0, dot));
  if (stem == kNames.size()) return std::nullopt;
  const std::size_t ending = find(kEndings, name.substr(dot + 1));
  if (ending == kEndings.size()) return std::nullopt;
  return stem * kEndings.size() + ending;
}

}  // namespace orvel
