#include "text/TrackScore.h"

#include <algorithm>
#include <cassert>
#include <string>

#include "text/CjkModel.h"
#include "text/LetterCosts.h"
#include "text/SingleByteReader.h"
#include "text/firstCharacter.h"
#include "text/letterCase.h"

namespace orvel {

namespace {

// Costs in the unit of TrackScore, sixths of a nat. Cross-validation chose them.
constexpr unsigned kMeaninglessByte = 108;
constexpr unsigned kCutCharacter = 18;
constexpr unsigned kOtherLanguage = 36;  // for a text in another language than its track
constexpr unsigned kFirstSmall = 7, kFirstCapital = 2;        // letters at the start of a word
constexpr unsigned kSecondCapital = 19, kFurtherCapital = 0;  // of a word in capitals
constexpr unsigned kCapitalInside = 36;                       // after a small letter
constexpr unsigned kSignBeforeLetter = 18;
constexpr unsigned kStrayLetter = 24;      // a letter of another script than Latin, alone
constexpr unsigned kScriptChange = 12;     // between such a letter and a Latin one
constexpr unsigned kInsideLatinWord = 24;  // an East Asian character between Latin letters
constexpr std::size_t kDecisiveBytes = 2048;

bool isAscii(unsigned char byte) {
  return byte < 0x80;
}

/// The cost of a letter's case after those of the two characters before it. A capital after a small
/// letter reveals a wrong encoding: KOI8-R and windows-1251 have their cases the other way round. A
/// word in capitals costs as much whatever its length.
unsigned caseCost(LetterCase beforeLast, LetterCase before, LetterCase letter) {
  if (letter == LetterCase::None) return 0;
  if (letter == LetterCase::Lower) return before == LetterCase::None ? kFirstSmall : 0;
  switch (before) {
    case LetterCase::None:
      return kFirstCapital;
    case LetterCase::Upper:
      return beforeLast == LetterCase::Upper ? kFurtherCapital : kSecondCapital;
    default:
      return kCapitalInside;
  }
}

using Shape = SingleByteReader::Shape;

LetterCase caseOf(unsigned shape) {
  if (shape == Shape::LatinLower || shape == Shape::OtherLower) return LetterCase::Lower;
  if (shape == Shape::LatinUpper || shape == Shape::OtherUpper) return LetterCase::Upper;
  return LetterCase::None;
}

/// The cost of a sign before a letter, which in another encoding is a letter itself, and of a
/// letter of another script than Latin that stands alone or beside a Latin letter. Signs of
/// windows-1252 look like such letters: "n.\u00BA 7", "2 \u00D7 2".
unsigned misplacementCost(unsigned before, unsigned letter, unsigned after) {
  const auto isOther = [](unsigned shape) {
    return shape >= Shape::OtherLower && shape <= Shape::OtherUncased;
  };
  const auto isLatin = [](unsigned shape) {
    return shape == Shape::LatinLower || shape == Shape::LatinUpper;
  };
  if (letter == Shape::Sign && isLatin(after)) return kSignBeforeLetter;
  if (!isOther(letter)) return 0;
  const bool alone = !isOther(before) && !isOther(after);
  return (alone ? kStrayLetter : 0) + (isLatin(before) ? kScriptChange : 0) +
         (isLatin(after) ? kScriptChange : 0);
}

/// The costs of three characters' shapes in a row: of the case and the meaning of the last one and
/// of the place of the middle one.
class ShapeCosts {
 public:
  ShapeCosts() {
    for (unsigned row = 0; row < costs.size(); ++row) {
      const unsigned before = row / (Shape::Shapes * Shape::Shapes);
      const unsigned first = row / Shape::Shapes % Shape::Shapes, second = row % Shape::Shapes;
      costs[row] = caseCost(caseOf(before), caseOf(first), caseOf(second)) +
                   misplacementCost(before, first, second) +
                   (second == Shape::Meaningless ? kMeaninglessByte : 0);
    }
  }

  unsigned of(Shape before, Shape first, Shape second) const {
    return costs[(before * Shape::Shapes + first) * Shape::Shapes + second];
  }

 private:
  std::array<unsigned, std::size_t{Shape::Shapes} * Shape::Shapes * Shape::Shapes> costs{};
};

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

unsigned TrackScore::pairCosts(const LetterCosts& language,
                               const SingleByteReader::Symbols& symbols,
                               std::span<const BytePair> pairs) {
  unsigned sum = 0;
  for (const auto [before, first, second] : pairs)
    sum += language.cost(symbols[before], symbols[first], symbols[second]);
  return sum;
}

void TrackScore::LanguageCosts::add(const TrackCosts& ofLanguage) {
  for (std::size_t i = 0; i < kMaxTexts; ++i) least[i] = std::min(least[i], ofLanguage.texts[i]);
  languages.push_back(ofLanguage);
}

TrackScore::TrackCosts TrackScore::LanguageCosts::together(const TextCosts& elsewhere,
                                                           std::size_t count) const {
  TrackCosts best{elsewhere};
  unsigned bestSum = ~0U;
  for (const TrackCosts& language : languages) {
    TrackCosts costs{{}, language.context};
    unsigned sum = costs.context;
    for (std::size_t i = 0; i < count; ++i) {
      costs.texts[i] = std::min({language.texts[i], least[i] + kOtherLanguage, elsewhere[i]});
      sum += costs.texts[i];
    }
    if (sum < bestSum) {
      best = costs;
      bestSum = sum;
    }
  }
  return best;
}

TrackScore::TrackScore(std::span<const std::string_view> trackTexts,
                       std::span<const std::string_view> context)
    : count(trackTexts.size()) {
  assert(count <= kMaxTexts);
  const AsciiPairCosts& ascii = AsciiPairCosts::instance();
  for (std::size_t i = 0; i < count; ++i) {
    texts[i].bytes = trackTexts[i].substr(0, kDecisiveBytes);
    texts[i].pairs.reserve(texts[i].bytes.size() + 1);
    std::uint8_t before = ' ', first = ' ';
    const auto add = [&](std::uint8_t byte) {
      if (isAscii(first) && isAscii(byte)) {
        ascii.add(asciiCosts[i], first, byte);
      } else {
        texts[i].pairs.push_back({before, first, byte});
      }
      before = first;
      first = byte;
    };
    for (const char byte : texts[i].bytes) add(static_cast<std::uint8_t>(byte));
    add(' ');
    leastAscii[i] = *std::min_element(asciiCosts[i].begin(), asciiCosts[i].begin() + kLatinModels);
  }
  for (const std::string_view text : context) addContext(text.substr(0, kDecisiveBytes));
}

/// A title in English does not make its track English: the language counts only so much.
void TrackScore::addContext(std::string_view text) {
  LatinCosts costs{};
  std::uint8_t first = ' ';
  const auto add = [&](std::uint8_t byte) {
    AsciiPairCosts::instance().add(costs, first, byte);
    first = byte;
  };
  for (const char byte : text) add(static_cast<std::uint8_t>(byte));
  add(' ');
  for (std::size_t model = 0; model < kLatinModels; ++model)
    costs[model] += alphabetModels()[model]->rarity;
  const unsigned least = *std::min_element(costs.begin(), costs.begin() + kLatinModels);
  for (std::size_t model = 0; model < kLatinModels; ++model)
    latinContext[model] += std::min(costs[model] - least, kOtherContext);
  otherContext += kOtherContext;
}

/// Models that do not distinguish ASCII letters charge them as the best Latin language does.
unsigned TrackScore::asciiCost(std::size_t model, std::size_t text) const {
  return model < kLatinModels ? asciiCosts[text][model] : leastAscii[text];
}

unsigned TrackScore::contextCost(std::size_t model) const {
  return model < kLatinModels ? latinContext[model] : otherContext;
}

TrackScore::LanguageCosts TrackScore::singleByteCosts(Encoding encoding,
                                                      const TextCosts& limits) const {
  static const ShapeCosts shapeCosts;
  const SingleByteReader& reader = SingleByteReader::of(encoding);
  TextCosts common{};
  bool possible = false;
  for (std::size_t i = 0; i < count; ++i) {
    for (const auto [before, first, second] : texts[i].pairs)
      common[i] +=
          shapeCosts.of(reader.shapes[before], reader.shapes[first], reader.shapes[second]);
    possible = possible || common[i] + leastAscii[i] < limits[i];
  }
  LanguageCosts languages(possible ? reader.symbols.size() : 0);
  for (std::size_t place = 0; place < reader.symbols.size() && possible; ++place) {
    const std::size_t model = reader.firstModel + place;
    const AlphabetModel& language = *alphabetModels()[model];
    const LetterCosts& letterCosts = LetterCosts::of(model);
    const SingleByteReader::Symbols& symbols = reader.symbols[place];
    TextCosts costs = common;
    for (std::size_t i = 0; i < count; ++i) {
      if (costs[i] < limits[i])
        costs[i] +=
            language.rarity + asciiCost(model, i) + pairCosts(letterCosts, symbols, texts[i].pairs);
    }
    languages.add({costs, contextCost(model)});
  }
  return languages;
}

TrackScore::LanguageCosts TrackScore::multiByteCosts(Encoding encoding,
                                                     const TextCosts& limits) const {
  const CjkModel& model = cjkModel(encoding);
  TextCosts costs{};
  for (std::size_t i = 0; i < count; ++i) {
    unsigned sum = leastAscii[i];
    CjkModel::Class before = CjkModel::Blank;
    bool asciiBefore = true, wholeSeen = false;
    bool insideWord = false;  // a single character after a Latin letter
    for (std::string_view rest = texts[i].bytes; !rest.empty() && sum < limits[i];) {
      const Decoded character = firstCharacter(encoding, rest);
      rest.remove_prefix(character.size);
      const bool ascii = character.code < 0x80;
      const auto kind = character.valid ? CjkModel::classOf(character.code) : CjkModel::Rare;
      if (!character.valid) {
        sum += invalidCost(character, texts[i].bytes, wholeSeen);
      } else {
        if (!ascii || !asciiBefore) sum += model.pairCost(before, kind);
        if (!ascii) sum += model.cost(kind, character.cell);
        if (insideWord && kind == CjkModel::Letter) sum += kInsideLatinWord;
        insideWord = !ascii && before == CjkModel::Letter;
        wholeSeen = wholeSeen || character.size > 1;
      }
      before = kind;
      asciiBefore = ascii;
    }
    if (!asciiBefore) sum += model.pairCost(before, CjkModel::Blank);
    costs[i] = sum;
  }
  LanguageCosts languages(1);
  languages.add({costs, otherContext});
  return languages;
}

TrackScore::LanguageCosts TrackScore::utf8Costs() const {
  TextCosts common{};
  std::array<std::u32string, kMaxTexts> decoded;
  for (std::size_t i = 0; i < count; ++i) {
    decoded[i].assign(2, U' ');
    bool wholeSeen = false;
    for (std::string_view rest = texts[i].bytes; !rest.empty();) {
      const Decoded character = firstCharacter(Encoding::Utf8, rest);
      rest.remove_prefix(character.size);
      if (character.valid) {
        const auto last = decoded[i].rbegin();
        common[i] += caseCost(letterCase(last[1]), letterCase(last[0]), letterCase(character.code));
        decoded[i] += character.code;
        wholeSeen = wholeSeen || character.size > 1;
      } else {
        common[i] += invalidCost(character, texts[i].bytes, wholeSeen);
      }
    }
    decoded[i] += U' ';
  }

  LanguageCosts languages(alphabetModels().size());
  for (std::size_t model = 0; model < alphabetModels().size(); ++model) {
    const AlphabetModel& language = *alphabetModels()[model];
    const LetterCosts& letterCosts = LetterCosts::of(model);
    TextCosts costs = common;
    for (std::size_t i = 0; i < count; ++i) {
      costs[i] += language.rarity + asciiCost(model, i);
      for (std::size_t place = 2; place < decoded[i].size(); ++place) {
        const char32_t* const last = &decoded[i][place];
        if (last[-1] < 0x80 && last[0] < 0x80) continue;
        costs[i] += letterCosts.cost(language.symbol(last[-2]), language.symbol(last[-1]),
                                     language.symbol(last[0]));
      }
    }
    languages.add({costs, contextCost(model)});
  }
  return languages;
}

TrackScore::LanguageCosts TrackScore::costs(Encoding encoding, const TextCosts& limits) const {
  if (encoding == Encoding::Utf8) return utf8Costs();
  return isSingleByte(encoding) ? singleByteCosts(encoding, limits)
                                : multiByteCosts(encoding, limits);
}

}  // namespace orvel
