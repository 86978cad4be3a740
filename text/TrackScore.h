#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "text/AlphabetModel.h"
#include "text/Encoding.h"

namespace orvel {

/// Rates what the texts of one track would be in an encoding.
///
/// All encodings are read from the same bytes, so that the improbability of what they make of them
/// compares directly. The texts of a track share a language as a rule: the language that explains
/// them best together counts.
class TrackScore {
 public:
  static constexpr std::size_t kMaxTexts = 5;

  /// Costs are negative logarithms of probabilities in this fraction of a nat.
  static constexpr unsigned kNat = 6;

  /// Prepares for texts, at most `kMaxTexts`, whose bytes must outlive this object. Of very long
  /// ones the start decides.
  explicit TrackScore(std::span<const std::string_view> texts);

  /// How improbable the texts are in this encoding, or some value from `limit` on when they are at
  /// least that improbable.
  unsigned cost(Encoding encoding, unsigned limit) const;

 private:
  struct BytePair {
    std::uint8_t first, second;
  };
  struct Text {
    std::string_view bytes;
    std::vector<BytePair> pairs;  ///< neighbours of which one is not ASCII; the ends are blanks
  };
  using TextCosts = std::array<unsigned, kMaxTexts>;
  class LanguageCosts;

  unsigned singleByteCost(Encoding encoding, unsigned limit) const;
  unsigned multiByteCost(Encoding encoding, unsigned limit) const;
  unsigned utf8Cost() const;
  unsigned asciiCost(std::size_t model, std::size_t text) const;

  std::array<Text, kMaxTexts> texts;
  std::size_t count;
  // What the pairs within ASCII cost in each Latin language; every encoding reads these alike.
  std::vector<TextCosts> asciiCosts;
  TextCosts leastAscii{};
};

}  // namespace orvel
