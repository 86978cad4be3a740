#include "text/TrackScore.h"

#include <algorithm>
#include <cassert>
#include <string>

#include "text/CjkModel.h"
#include "text/SingleByteReader.h"
#include "text/firstCharacter.h"

namespace orvel {

namespace {

constexpr unsigned kNat = TrackScore::kNat;
constexpr unsigned kMeaninglessByte = 16 * kNat;
constexpr unsigned kCutCharacter = 3 * kNat;
constexpr unsigned kOtherLanguage = 3 * kNat;  // for a text in another language than its track
constexpr std::size_t kDecisiveBytes = 2048;

bool isAscii(unsigned char byte) {
  return byte < 0x80;
}

/// The cost of a letter's case after that of the character before it. A capital after a small
/// letter reveals a wrong encoding: KOI8-R and windows-1251 have their cases the other way round.
unsigned caseCost(LetterCase before, LetterCase letter) {
  if (letter == LetterCase::None) return 0;
  if (letter == LetterCase::Lower) return before == LetterCase::None ? kNat : 0;
  switch (before) {
    case LetterCase::None:
      return kNat / 2;
    case LetterCase::Upper:
      return 3 * kNat / 2;
    default:
      return 6 * kNat;
  }
}

/// The cost of bytes without a meaning. A character cut off at the end of a text costs less,
/// because tags with fixed field sizes cut texts there; the shortest such field has 28 bytes.
unsigned invalidCost(const Decoded& character, std::string_view text, bool wholeSeen) {
  constexpr std::size_t kShortestField = 28;
  const bool cut = character.cut && wholeSeen && text.size() >= kShortestField;
  return cut ? kCutCharacter : kMeaninglessByte * character.size;
}

const CjkModel& cjkModel(Encoding encoding) {
  switch (encoding) {
    case Encoding::Gb18030:
      return zhModel;
    case Encoding::Big5:
      return ztModel;
    case Encoding::EucKr:
      return koModel;
    default:
      return jaModel;
  }
}

}  // namespace

/// The costs of the texts in several languages.
class TrackScore::LanguageCosts {
 public:
  explicit LanguageCosts(std::size_t textCount) : texts(textCount) { least.fill(~0U); }

  void add(const TextCosts& ofLanguage) {
    for (std::size_t i = 0; i < texts; ++i) least[i] = std::min(least[i], ofLanguage[i]);
    languages.push_back(ofLanguage);
  }

  /// The cost in the best language. Single texts may be in another one for an extra cost.
  unsigned total() const {
    unsigned best = ~0U;
    for (const TextCosts& language : languages) {
      unsigned sum = 0;
      for (std::size_t i = 0; i < texts; ++i)
        sum += std::min(language[i], least[i] + kOtherLanguage);
      best = std::min(best, sum);
    }
    return best;
  }

 private:
  std::size_t texts;
  TextCosts least{};
  std::vector<TextCosts> languages;
};

TrackScore::TrackScore(std::span<const std::string_view> trackTexts)
    : count(trackTexts.size()), asciiCosts(kLatinModels) {
  assert(count <= kMaxTexts);
  leastAscii.fill(~0U);
  for (std::size_t i = 0; i < count; ++i) {
    texts[i].bytes = trackTexts[i].substr(0, kDecisiveBytes);
    std::vector<BytePair> asciiPairs;
    std::uint8_t before = ' ';
    const auto add = [&](std::uint8_t byte) {
      (isAscii(before) && isAscii(byte) ? asciiPairs : texts[i].pairs).push_back({before, byte});
      before = byte;
    };
    for (const char byte : texts[i].bytes) add(static_cast<std::uint8_t>(byte));
    add(' ');
    const auto& symbols = SingleByteReader::of(Encoding::Windows1252).symbols[0];
    for (std::size_t model = 0; model < kLatinModels; ++model) {
      unsigned& sum = asciiCosts[model][i];
      for (const auto [first, second] : asciiPairs)
        sum += alphabetModels()[model]->cost(symbols[first], symbols[second]);
      leastAscii[i] = std::min(leastAscii[i], sum);
    }
  }
}

/// Models that do not distinguish ASCII letters charge them as the best Latin language does.
unsigned TrackScore::asciiCost(std::size_t model, std::size_t text) const {
  return model < kLatinModels ? asciiCosts[model][text] : leastAscii[text];
}

unsigned TrackScore::singleByteCost(Encoding encoding, unsigned limit) const {
  const SingleByteReader& reader = SingleByteReader::of(encoding);
  unsigned common = 0;
  for (std::size_t i = 0; i < count; ++i) {
    for (const auto [first, second] : texts[i].pairs) {
      common += caseCost(reader.cases[first], reader.cases[second]);
      if (reader.meaningless[second]) common += kMeaninglessByte;
    }
  }
  if (common >= limit) return common;

  LanguageCosts languages(count);
  for (std::size_t language = 0; language < reader.symbols.size(); ++language) {
    const std::size_t model = reader.firstModel + language;
    const SingleByteReader::Symbols& symbols = reader.symbols[language];
    TextCosts costs{};
    for (std::size_t i = 0; i < count; ++i) {
      costs[i] = asciiCost(model, i);
      for (const auto [first, second] : texts[i].pairs)
        costs[i] += alphabetModels()[model]->cost(symbols[first], symbols[second]);
    }
    languages.add(costs);
  }
  return common + languages.total();
}

unsigned TrackScore::multiByteCost(Encoding encoding, unsigned limit) const {
  const CjkModel& model = cjkModel(encoding);
  unsigned sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    CjkModel::Class before = CjkModel::Blank;
    bool asciiBefore = true, wholeSeen = false;
    for (std::string_view rest = texts[i].bytes; !rest.empty() && sum < limit;) {
      const Decoded character = firstCharacter(encoding, rest);
      rest.remove_prefix(character.size);
      const bool ascii = character.code < 0x80;
      const auto kind = character.valid ? CjkModel::classOf(character.code) : CjkModel::Rare;
      if (!character.valid) {
        sum += invalidCost(character, texts[i].bytes, wholeSeen);
      } else {
        if (!ascii || !asciiBefore) sum += model.pairCost(before, kind);
        if (!ascii) sum += model.cost(kind, character.cell);
        wholeSeen = wholeSeen || character.size > 1;
      }
      before = kind;
      asciiBefore = ascii;
    }
    if (!asciiBefore) sum += model.pairCost(before, CjkModel::Blank);
    sum += leastAscii[i];
  }
  return sum;
}

unsigned TrackScore::utf8Cost() const {
  unsigned common = 0;
  std::array<std::u32string, kMaxTexts> decoded;
  for (std::size_t i = 0; i < count; ++i) {
    decoded[i].assign(1, U' ');
    bool wholeSeen = false;
    for (std::string_view rest = texts[i].bytes; !rest.empty();) {
      const Decoded character = firstCharacter(Encoding::Utf8, rest);
      rest.remove_prefix(character.size);
      if (character.valid) {
        common += caseCost(letterCase(decoded[i].back()), letterCase(character.code));
        decoded[i] += character.code;
        wholeSeen = wholeSeen || character.size > 1;
      } else {
        common += invalidCost(character, texts[i].bytes, wholeSeen);
      }
    }
    decoded[i] += U' ';
  }

  LanguageCosts languages(count);
  for (std::size_t model = 0; model < alphabetModels().size(); ++model) {
    const AlphabetModel& language = *alphabetModels()[model];
    TextCosts costs{};
    for (std::size_t i = 0; i < count; ++i) {
      costs[i] = asciiCost(model, i);
      for (std::size_t k = 1; k < decoded[i].size(); ++k) {
        const char32_t first = decoded[i][k - 1], second = decoded[i][k];
        if (first >= 0x80 || second >= 0x80)
          costs[i] += language.cost(language.symbol(first), language.symbol(second));
      }
    }
    languages.add(costs);
  }
  return common + languages.total();
}

unsigned TrackScore::cost(Encoding encoding, unsigned limit) const {
  if (encoding == Encoding::Utf8) return utf8Cost();
  return isSingleByte(encoding) ? singleByteCost(encoding, limit) : multiByteCost(encoding, limit);
}

}  // namespace orvel
