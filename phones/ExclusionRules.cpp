#include "phones/ExclusionRules.h"

#include <strings.h>

#include <cstddef>

namespace orvel {

bool isHiddenPath(std::string_view path) {
  return path.find("/.") != std::string_view::npos;
}

bool hasExcludedEnding(std::string_view name) {
  constexpr std::size_t kEndingLength = 3;
  return name.size() > kEndingLength &&
         strncasecmp(name.data() + name.size() - kEndingLength, "OGG", kEndingLength) == 0;
}

}  // namespace orvel
