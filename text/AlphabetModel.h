#pragma once

#include <cstdint>
#include <string_view>

namespace orvel {

/// How probable pairs of letters are in the texts of one language. Alphabetic scripts only.
struct AlphabetModel {
  /// Symbols that every model has, before its letters.
  enum Symbol : std::uint8_t { Blank, Digit, Punctuation, Typographic, Odd, Foreign, FixedSymbols };

  std::u16string_view letters;  ///< lower-case letters beyond ASCII, in code point order
  bool latin;                   ///< a to z are 26 symbols before `letters`; otherwise they are one
  std::string_view costs;       ///< a square matrix of printable digits

  /// Number of symbols, which is one side of the matrix.
  unsigned size() const {
    return FixedSymbols + (latin ? 26 : 1) + static_cast<unsigned>(letters.size());
  }

  /// What a character is to this model.
  std::uint8_t symbol(char32_t character) const;

  /// Cost of `second` behind `first`: the negative logarithm of its probability in sixths of a nat.
  unsigned cost(std::uint8_t first, std::uint8_t second) const;
};

// clang-format off
extern const AlphabetModel enModel, deModel, frModel, esModel, itModel, ptModel, caModel, nlModel,
    svModel, noModel, fiModel, isModel, xxModel, plModel, csModel, huModel, roModel, hrModel,
    trModel, ltModel, lvModel, viModel, ruModel, ukModel, bgModel, elModel, arModel, heModel,
    thModel;
// clang-format on

}  // namespace orvel
