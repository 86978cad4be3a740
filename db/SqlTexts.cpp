#include "db/SqlTexts.h"

namespace orvel::sql {

bool fitsPathPattern(std::string_view prefix) {
  return prefix.find('"') == std::string_view::npos;
}

std::string withPathPattern(std::string_view sql, std::string_view prefix, std::string_view tail) {
  std::string text(sql);
  if (!fitsPathPattern(prefix)) return text.append(tail);
  return text.append("\"").append(prefix).append("%\"").append(tail);
}

}  // namespace orvel::sql
