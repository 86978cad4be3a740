#include "text/evidentUtf8.h"

#include <algorithm>

#include "text/firstCharacter.h"

namespace orvel {

std::optional<std::string> evidentUtf8(std::string_view bytes) {
  constexpr unsigned kEvident = 3;
  unsigned longest = 0;
  for (std::string_view rest = bytes; !rest.empty();) {
    const Decoded character = firstCharacter(Encoding::Utf8, rest);
    if (!character.valid && !character.cut) return std::nullopt;
    if (character.valid) longest = std::max(longest, character.size);
    rest.remove_prefix(character.size);
  }
  return longest >= kEvident ? std::optional(toUtf8(Encoding::Utf8, bytes)) : std::nullopt;
}

}  // namespace orvel
