#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "text/AlphabetModel.h"

namespace orvel {

/// The costs of letters in one language, unpacked for speed from its model.
class LetterCosts {
 public:
  explicit LetterCosts(const AlphabetModel& model);

  /// The cost of a symbol after two others: the negative logarithm of its probability in sixths of
  /// a nat.
  unsigned of(std::uint8_t before, std::uint8_t first, std::uint8_t second) const {
    const std::size_t pair = first * size + second;
    const unsigned cost = pairs[pair];
    return cost < kInTriples ? cost : cost - kInTriples + tripleCost(before, pair);
  }

  /// The costs of a model, by its place among `alphabetModels()`; never destroyed. Any thread.
  static const LetterCosts& ofModel(std::size_t model);

 private:
  static constexpr unsigned kInTriples = 0x80;  // added to a pair's cost when triples end with it

  /// The cost of a triple beyond that of its last pair.
  struct Triple {
    std::uint32_t key = 0;
    int cost = 0;
  };

  static std::uint32_t keyOf(unsigned before, std::size_t pair) {
    return static_cast<std::uint32_t>(pair << 8U) + before;
  }
  std::size_t slotOf(std::uint32_t key) const;
  void add(std::string_view digits, int cost);
  int tripleCost(std::uint8_t before, std::size_t pair) const {
    return triples[slotOf(keyOf(before, pair))].cost;
  }

  std::size_t size;
  std::vector<std::uint8_t> pairs;  // a square matrix
  std::vector<Triple> triples;      // a hash table, at most half full
};

}  // namespace orvel
