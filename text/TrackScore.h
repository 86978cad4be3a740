#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "text/AsciiPairCosts.h"
#include "text/Encoding.h"
#include "text/LetterCosts.h"
#include "text/SingleByteReader.h"

namespace orvel {

/// Rates how well an encoding explains the texts of one track.
///
/// All encodings are rated on the same bytes, so their costs compare directly.
class TrackScore {
 public:
  static constexpr std::size_t kMaxTexts = 5;

  /// Costs are negative logarithms of probabilities in this fraction of a nat.
  static constexpr unsigned kNat = 6;

  /// The costs of the texts of a track, one by one.
  using TextCosts = std::array<unsigned, kMaxTexts>;

  /// The costs of the texts of a track and of their context, together.
  struct TrackCosts {
    TextCosts texts{};
    unsigned context = 0;
  };

  /// The costs of the texts in the languages that are written in one encoding.
  class LanguageCosts {
   public:
    explicit LanguageCosts(std::size_t expected) {
      least.fill(kTooMuch);
      languages.reserve(expected);
    }

    /// True when no language explains any text below its limit.
    bool empty() const { return languages.empty(); }

    void add(const TrackCosts& ofLanguage);

    /// The cost of each text in the language that explains it best.
    const TextCosts& ofTexts() const { return least; }

    /// The shares of each text and of the context in the cost of the track. The texts of a track
    /// usually share a language, so the one counts that explains them best together; single texts
    /// may be in another language for an extra cost, and cost at most as much as in `elsewhere`.
    TrackCosts together(const TextCosts& elsewhere, std::size_t count) const;

   private:
    TextCosts least{};
    std::vector<TrackCosts> languages;
  };

  /// A cost above all others.
  static constexpr unsigned kTooMuch = 1U << 24U;

  /// The highest cost of a text of the context, for being in another language than its track.
  static constexpr unsigned kOtherContext = 2 * kNat;

  /// Judges very long texts by their beginning.
  /// @param texts    at most `kMaxTexts`, whose bytes must outlive this object
  /// @param context  the other texts of the track, in ASCII: the same in every encoding, they speak
  ///                 for a language
  TrackScore(std::span<const std::string_view> texts, std::span<const std::string_view> context);

  /// The costs of the texts in this encoding. May stop early and tell any cost of at least its
  /// limit for a text whose cost reaches it.
  LanguageCosts costs(Encoding encoding, const TextCosts& limits) const;

 private:
  /// Neighbours that are not both ASCII, and the byte before them; ends count as blanks.
  struct BytePair {
    std::uint8_t before, first, second;
  };
  struct Text {
    std::string_view bytes;
    std::vector<BytePair> pairs;
  };

  static unsigned pairCosts(const LetterCosts& language, const SingleByteReader::Symbols& symbols,
                            std::span<const BytePair> pairs);
  LanguageCosts singleByteCosts(Encoding encoding, const TextCosts& limits) const;
  LanguageCosts multiByteCosts(Encoding encoding, const TextCosts& limits) const;
  LanguageCosts utf8Costs() const;
  unsigned asciiCost(std::size_t model, std::size_t text) const;
  unsigned contextCost(std::size_t model) const;
  void addContext(std::string_view text);

  using LatinCosts = AsciiPairCosts::Row<unsigned>;

  std::array<Text, kMaxTexts> texts;
  std::size_t count;
  // The cost of the ASCII pairs in each Latin language, which is the same in every encoding.
  std::array<LatinCosts, kMaxTexts> asciiCosts{};
  TextCosts leastAscii{};
  LatinCosts latinContext{};  // of the context in each Latin language, beyond the best one
  unsigned otherContext = 0;  // in each language of another script
};

}  // namespace orvel
