#pragma once

#include <cstdint>
#include <string_view>

#include "text/PrintableDigit.h"

namespace orvel {

/// The probabilities of letter pairs and triples in the texts of one language with an alphabetic
/// script.
struct AlphabetModel {
  /// Symbols that precede the letters in every model.
  enum Symbol : std::uint8_t { Blank, Digit, Punctuation, Typographic, Odd, Foreign, FixedSymbols };

  std::u16string_view letters;  ///< lower-case letters beyond ASCII, in code point order
  bool latin;                   ///< a to z are 26 symbols before `letters` instead of one for all
  unsigned rarity;              ///< the cost of a text for being in this language
  std::string_view costs;       ///< a square matrix of printable digits
  std::string_view likely;      ///< triples of symbols, more frequent than their pairs tell
  std::string_view unlikely;    ///< triples that are rarer

  /// The number of symbols, which is the side of the matrix.
  unsigned size() const {
    return FixedSymbols + (latin ? 26 : 1) + static_cast<unsigned>(letters.size());
  }

  /// The symbol of a character in this model.
  std::uint8_t symbol(char32_t character) const;

  /// The cost of `second` after `first`: the negative logarithm of its probability in sixths of a
  /// nat.
  unsigned cost(std::uint8_t first, std::uint8_t second) const {
    return printableDigit(costs[first * size() + second]);
  }
};

// clang-format off
extern const AlphabetModel enModel, deModel, frModel, furModel, esModel, itModel, ptModel, caModel, nlModel, fyModel,
    svModel, noModel, fiModel, isModel, gaModel, sqModel, xxModel, plModel, csModel, skModel, huModel, roModel,
    hrModel, trModel, ltModel, lvModel, etModel, viModel, ruModel, ukModel, beModel, bgModel, srModel,
    elModel, arModel, faModel, heModel, thModel;
// clang-format on

}  // namespace orvel
