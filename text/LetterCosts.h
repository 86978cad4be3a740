#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "text/AlphabetModel.h"

namespace orvel {

/// The costs of letters in one language, unpacked from its model for speed.
class LetterCosts {
 public:
  explicit LetterCosts(const AlphabetModel& model);

  /// The cost of a symbol after two others: the negative logarithm of its probability in sixths of
  /// a nat.
  unsigned cost(std::uint8_t before, std::uint8_t first, std::uint8_t second) const {
    const std::size_t pair = first * size + second;
    const unsigned ofPair = pairs[pair];
    if (ofPair < kEndsTriples) return ofPair;
    return ofPair - kEndsTriples + triples[slotOf(before, pair)].cost;
  }

  /// The costs of a model, by its place among `alphabetModels()`; never destroyed. Any thread.
  static const LetterCosts& of(std::size_t model);

 private:
  static constexpr unsigned kEndsTriples = 0x80;  // added to the cost of a pair that ends triples

  /// What a triple costs beyond its last pair; nothing in a free slot.
  struct Triple {
    std::uint16_t pair = 0;
    std::uint8_t before = 0;
    std::int8_t cost = 0;
  };

  void add(std::string_view digits, std::int8_t cost);
  std::size_t slotOf(std::uint8_t before, std::size_t pair) const;

  std::size_t size;
  std::vector<std::uint8_t> pairs;  // a square matrix
  std::vector<Triple> triples;      // a hash table, at most half full
};

}  // namespace orvel
