#pragma once

#include <cstdint>
#include <string_view>

namespace orvel {

/// The probabilities of characters and of pairs of character classes in the texts of one East Asian
/// language.
struct CjkModel {
  /// Classes of characters.
  enum Class : std::uint8_t {
    Blank,
    Letter,
    Ascii,
    Hiragana,
    Katakana,
    Han,
    Hangul,
    HalfWidth,
    Mark,
    Rare,
    Classes
  };

  std::string_view cells;     ///< cost levels of an encoding's table cells, two per digit
  std::string_view unlisted;  ///< costs of the characters without a cell, by class
  std::string_view pairs;     ///< a square matrix: the cost of a class after another

  /// The class of a character, the same in all models.
  static Class classOf(char32_t character);

  /// The cost of a character: the negative logarithm of its probability within its class in sixths
  /// of a nat. `cell` is its number in `cells`, or past the end for a character without a cell.
  unsigned cost(Class kind, unsigned cell) const;

  /// The cost of class `second` after class `first`, in the same unit.
  unsigned pairCost(Class first, Class second) const;
};

extern const CjkModel zhModel, ztModel, jaModel, koModel;

}  // namespace orvel
