#pragma once

#include <cstdint>
#include <string_view>

namespace orvel {

/// How probable characters, and kinds of characters behind one another, are in the texts of one
/// East Asian language.
struct CjkModel {
  /// Kinds of characters.
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

  std::string_view cells;     ///< levels of the cells of an encoding's table, two in each digit
  std::string_view unlisted;  ///< costs of the characters without a cell, by class
  std::string_view pairs;     ///< a square matrix: costs of a class behind another

  /// What a character is to all models.
  static Class classOf(char32_t character);

  /// Cost of a character of this class: the negative logarithm of its probability within its class
  /// in sixths of a nat. `cell` is its number in `cells`, or beyond them.
  unsigned cost(Class kind, unsigned cell) const;

  /// Cost of a class behind another in the same unit.
  unsigned pairCost(Class first, Class second) const;
};

extern const CjkModel zhModel, ztModel, jaModel, koModel;

}  // namespace orvel
