#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "text/AlphabetModel.h"
#include "text/Encoding.h"

namespace orvel {

/// All alphabetic models; those of Latin script come first.
std::span<const AlphabetModel* const> alphabetModels();

/// The number of models of Latin script.
constexpr std::size_t kLatinModels = 28;

/// The bytes of an eight-bit encoding as symbols of the models of the languages written in it.
struct SingleByteReader {
  using Symbols = std::array<std::uint8_t, 256>;

  /// Kinds of characters whose order costs something, whatever the language.
  enum Shape : std::uint8_t {
    NoLetter,
    LatinLower,
    LatinUpper,
    Sign,  ///< of Latin encodings: one that does not stand before a letter
    OtherLower,
    OtherUpper,
    OtherUncased,
    Meaningless,  ///< bytes that do not occur in texts of this encoding
    Shapes
  };

  std::array<Shape, 256> shapes{};
  std::size_t firstModel = 0;    ///< the languages are neighbours among `alphabetModels()`
  std::vector<Symbols> symbols;  ///< of each of the languages

  /// The reader of an eight-bit encoding; never destroyed. Any thread.
  static const SingleByteReader& of(Encoding encoding);
};

}  // namespace orvel
