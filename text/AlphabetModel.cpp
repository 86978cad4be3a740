#include "text/AlphabetModel.h"

#include <algorithm>

#include "text/letterCase.h"

namespace orvel {

namespace {

/// Marks of ordinary typesetting. All other characters that are no letters are rare in tags.
bool isTypographic(char32_t c) {
  constexpr std::u16string_view kMarks =
      u"\u00A0\u00A9\u00AB\u00AE\u00B0\u00B4\u00B7\u00BB\u2010\u2011\u2012\u2013\u2014\u2018\u2019"
      u"\u201A\u201C\u201D\u201E\u2022\u2026\u20AC\u2122";
  return c < 0x10000 && std::ranges::binary_search(kMarks, static_cast<char16_t>(c));
}

bool isOddMark(char32_t c) {
  return c < 0xC0 || c == 0xD7 || c == 0xF7 || (c >= 0x2B0 && c < 0x370) || c >= 0x2000;
}

/// Maps Romanian letters with a comma below to those with a cedilla, the only form that most
/// eight-bit encodings have.
char32_t withCedilla(char32_t c) {
  if (c == 0x219) return 0x15F;
  return c == 0x21B ? 0x163 : c;
}

}  // namespace

std::uint8_t AlphabetModel::symbol(char32_t character) const {
  const char32_t c = withCedilla(lowerCase(character));
  if (c <= 0x20 || c == 0x7F) return Blank;
  if (c < 0x80) {
    if (c >= 'a' && c <= 'z') return FixedSymbols + (latin ? c - 'a' : 0);
    return c >= '0' && c <= '9' ? Digit : Punctuation;
  }
  const auto* const found = std::ranges::lower_bound(letters, c);
  if (found != letters.end() && *found == c)
    return FixedSymbols + (latin ? 26 : 1) + (found - letters.begin());
  if (isTypographic(c)) return Typographic;
  return isOddMark(c) ? Odd : Foreign;
}

}  // namespace orvel
