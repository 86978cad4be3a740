#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "text/AlphabetModel.h"
#include "text/Encoding.h"

namespace orvel {

/// Rates how well an encoding explains the texts of one track.
///
/// All encodings are rated on the same bytes, so their costs compare directly. The texts of a track
/// usually share a language: the one that explains them best together counts.
class TrackScore {
 public:
  static constexpr std::size_t kMaxTexts = 5;

  /// Costs are negative logarithms of probabilities in this fraction of a nat.
  static constexpr unsigned kNat = 6;

  /// Takes at most `kMaxTexts` texts, whose bytes must outlive this object. Judges very long ones
  /// by their beginning.
  explicit TrackScore(std::span<const std::string_view> texts);

  /// The cost of the texts in this encoding. May stop early and return any value of at least
  /// `limit` when the cost reaches it.
  unsigned cost(Encoding encoding, unsigned limit) const;

 private:
  struct BytePair {
    std::uint8_t first, second;
  };
  struct Text {
    std::string_view bytes;
    std::vector<BytePair> pairs;  ///< neighbours that are not both ASCII; ends count as blanks
  };
  using TextCosts = std::array<unsigned, kMaxTexts>;
  class LanguageCosts;

  unsigned singleByteCost(Encoding encoding, unsigned limit) const;
  unsigned multiByteCost(Encoding encoding, unsigned limit) const;
  unsigned utf8Cost() const;
  unsigned asciiCost(std::size_t model, std::size_t text) const;

  std::array<Text, kMaxTexts> texts;
  std::size_t count;
  // The cost of the ASCII pairs in each Latin language, which is the same in every encoding.
  std::vector<TextCosts> asciiCosts;
  TextCosts leastAscii{};
};

}  // namespace orvel
