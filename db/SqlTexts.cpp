#include "db/SqlTexts.h"

#include <algorithm>

namespace orvel::sql {

std::string withPathPattern(std::string_view sql, std::string_view prefix, std::string_view tail) {
  constexpr char kAnyCharacter = '_';
  std::string pattern(prefix);
  std::replace(pattern.begin(), pattern.end(), '"', kAnyCharacter);
  return std::string(sql).append("\"").append(pattern).append("%\"").append(tail);
}

}  // namespace orvel::sql
