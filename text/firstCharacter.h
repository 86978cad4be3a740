#pragma once

#include <string_view>

#include "text/Encoding.h"

namespace orvel {

/// One character read from bytes.
struct Decoded {
  char32_t code = 0xFFFD;
  unsigned size = 1;    ///< in bytes
  bool valid = false;   ///< false for bytes without a meaning; `code` is U+FFFD then
  unsigned cell = ~0U;  ///< its number among the cells of the encoding's language model, if any
  bool cut = false;     ///< invalid because the text ends within the character
};

/// Reads the first character of `bytes`, which must not be empty, in a multi-byte encoding.
Decoded firstCharacter(Encoding encoding, std::string_view bytes);

}  // namespace orvel
