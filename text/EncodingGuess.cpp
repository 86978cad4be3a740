#include "text/EncodingGuess.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "text/SingleByteReader.h"
#include "text/TrackScore.h"
#include "text/firstCharacter.h"

namespace orvel {

namespace {

constexpr unsigned kNat = TrackScore::kNat;

/// The margin by which an encoding must explain a track better than windows-1252, the commonest, in
/// the unit of TrackScore. Cross-validation chose these and the margins below.
struct Priority {
  unsigned handicap = 0;
  Encoding encoding = Encoding::Windows1252;
  std::optional<Encoding> like = {};  ///< a more frequent encoding that shares most codes
};

constexpr Priority kPriorities[] = {
    {0, Encoding::Windows1252},
    {18, Encoding::Utf8},
    {24, Encoding::Gb18030},
    {36, Encoding::ShiftJis},
    {36, Encoding::EucKr},
    {42, Encoding::Big5},
    {19, Encoding::Windows1254},
    {28, Encoding::Windows1250},
    {45, Encoding::Windows1251},
    {41, Encoding::EucJp},
    {39, Encoding::Windows1256},
    {42, Encoding::Windows1253},
    {48, Encoding::Tis620},
    {51, Encoding::Windows1255},
    {66, Encoding::Koi8},
    {34, Encoding::Iso8859_2, Encoding::Windows1250},
    {30, Encoding::Iso8859_15, Encoding::Windows1252},
    {28, Encoding::Iso8859_16, Encoding::Windows1250},
    {20, Encoding::Windows1257},
    {60, Encoding::Windows1258},
    {54, Encoding::Iso8859_7, Encoding::Windows1253},
    {51, Encoding::Iso8859_5},
    {60, Encoding::Ibm866},
    {63, Encoding::MacCyrillic},
};

/// An encoding that a region moves up in the list.
struct RegionPriority {
  TextRegion region;
  Encoding encoding;
};

constexpr unsigned kRegionBonus = 4 * kNat;
constexpr unsigned kLeastInRegion = 2 * kNat;  // of a handicap remains
static_assert(std::ranges::all_of(kPriorities, [](const Priority& priority) {
  return priority.handicap > kLeastInRegion || priority.encoding == Encoding::Windows1252;
}));
constexpr unsigned kUnicodeTagger = 12 * kNat;
/// The margin by which another encoding than its track's must explain a text better.
constexpr unsigned kOtherEncoding = 33;
/// Further margins when the track has only one byte outside ASCII, however often. Most encodings of
/// Latin script have a letter there. In an encoding of two bytes, it would be one character.
constexpr unsigned kLoneLetter = 9;
constexpr unsigned kLonePair = 12;

constexpr RegionPriority kRegionPriorities[] = {
    {TextRegion::CentralEurope, Encoding::Windows1250},
    {TextRegion::CentralEurope, Encoding::Iso8859_2},
    {TextRegion::CentralEurope, Encoding::Iso8859_16},
    {TextRegion::Turkey, Encoding::Windows1254},
    {TextRegion::Baltic, Encoding::Windows1257},
    {TextRegion::Vietnam, Encoding::Windows1258},
    {TextRegion::EasternEurope, Encoding::Windows1251},
    {TextRegion::EasternEurope, Encoding::Koi8},
    {TextRegion::Greece, Encoding::Windows1253},
    {TextRegion::Arabia, Encoding::Windows1256},
    {TextRegion::Israel, Encoding::Windows1255},
    {TextRegion::Thailand, Encoding::Tis620},
    {TextRegion::China, Encoding::Gb18030},
    {TextRegion::Taiwan, Encoding::Big5},
    {TextRegion::Japan, Encoding::ShiftJis},
    {TextRegion::Japan, Encoding::EucJp},
    {TextRegion::Korea, Encoding::EucKr},
};

/// The further margin of an encoding when the track has only one byte outside ASCII.
unsigned loneByteMargin(Encoding encoding) {
  if (encoding == Encoding::Utf8 || encoding == Encoding::Iso8859_15) return 0;
  if (!isSingleByte(encoding)) return kLonePair;
  return SingleByteReader::of(encoding).firstModel < kLatinModels ? kLoneLetter : 0;
}

/// What is known about a track besides its bytes.
struct Circumstances {
  bool unicodeSeen;
  bool loneByte;
  TextRegion region;
};

unsigned handicap(const Priority& priority, const Circumstances& track) {
  if (priority.encoding == Encoding::Windows1252) return 0;
  const bool preferred = std::ranges::any_of(kRegionPriorities, [&](const RegionPriority& entry) {
    return entry.region == track.region && entry.encoding == priority.encoding;
  });
  const unsigned lone = track.loneByte && !preferred ? loneByteMargin(priority.encoding) : 0;
  const unsigned bonus = preferred ? std::min(kRegionBonus, priority.handicap - kLeastInRegion) : 0;
  return priority.handicap + lone - bonus + (track.unicodeSeen ? kUnicodeTagger : 0);
}

/// True for well-formed UTF-8, whose end may be cut off.
bool mayBeUtf8(std::span<const std::string_view> texts) {
  for (std::string_view text : texts) {
    while (!text.empty()) {
      const Decoded character = firstCharacter(Encoding::Utf8, text);
      if (!character.valid && !character.cut) return false;
      text.remove_prefix(character.size);
    }
  }
  return true;
}

/// The different bytes outside ASCII of the texts.
std::string upperBytesOf(std::span<const std::string_view> texts) {
  std::bitset<256> seen;
  std::string used;
  for (const std::string_view text : texts) {
    for (const char c : text) {
      const auto byte = static_cast<unsigned char>(c);
      if (byte < 0x80 || seen[byte]) continue;
      seen.set(byte);
      used += c;
    }
  }
  return used;
}

/// True when two eight-bit encodings assign the same characters to these bytes outside ASCII.
bool alike(Encoding first, Encoding second, std::string_view used) {
  const std::u16string_view a = upperHalf(first), b = upperHalf(second);
  return std::ranges::all_of(used, [&](char c) {
    const unsigned place = static_cast<unsigned char>(c) - 0x80U;
    return a[place] == b[place];
  });
}

using TextCosts = TrackScore::TextCosts;

/// The encodings that a track may have, and what each costs.
struct Candidate {
  Encoding encoding;
  unsigned handicap;
  TrackScore::LanguageCosts costs;
};

/// A text's cheapest encoding.
struct Elsewhere {
  TextCosts costs;
  TextEncodings encodings{};

  Elsewhere() { costs.fill(TrackScore::kTooMuch); }

  void add(const Candidate& candidate, unsigned extra) {
    for (std::size_t i = 0; i < costs.size(); ++i) {
      const unsigned cost = candidate.costs.ofTexts()[i] + candidate.handicap + extra;
      if (cost >= costs[i]) continue;
      costs[i] = cost;
      encodings[i] = candidate.encoding;
    }
  }
};

}  // namespace

TextEncodings guessEncodings(std::span<const std::string_view> texts,
                             std::span<const std::string_view> context, bool unicodeSeen,
                             TextRegion region) {
  const TrackScore score(texts, context);
  const std::string used = upperBytesOf(texts);
  // A single letter is a letter of windows-1252 as well as of any other encoding.
  if (texts.size() == 1 && texts[0].size() == 1) return {Encoding::Windows1252};
  // The encoding of a single text is that of its track; no cost of the context exceeds this.
  const bool alone = texts.size() == 1;
  const unsigned elsewhereMargin =
      alone ? static_cast<unsigned>(context.size()) * TrackScore::kOtherContext : kOtherEncoding;
  const Circumstances track{unicodeSeen, used.size() == 1, region};
  std::vector<Candidate> candidates;
  candidates.reserve(std::size(kPriorities));
  Elsewhere elsewhere;
  for (const Priority& priority : kPriorities) {
    if (priority.like && alike(priority.encoding, *priority.like, used)) continue;
    if (priority.encoding == Encoding::Utf8 && std::ranges::none_of(texts, [](const auto& text) {
          return mayBeUtf8({&text, 1});
        }))
      continue;
    const unsigned start = handicap(priority, track);
    TextCosts limits = elsewhere.costs;
    if (alone) limits[0] -= std::min(limits[0], start);
    TrackScore::LanguageCosts costs = score.costs(priority.encoding, limits);
    if (costs.empty()) continue;
    candidates.push_back({priority.encoding, start, std::move(costs)});
    elsewhere.add(candidates.back(), elsewhereMargin);
  }
  TextEncodings best{};
  unsigned least = ~0U;
  for (const Candidate& candidate : candidates) {
    const auto [costs, contextCost] = candidate.costs.together(elsewhere.costs, texts.size());
    const unsigned sum = std::accumulate(costs.begin(), costs.begin() + texts.size(),
                                         candidate.handicap + contextCost);
    if (sum >= least) continue;
    least = sum;
    for (std::size_t i = 0; i < texts.size(); ++i)
      best[i] = costs[i] < elsewhere.costs[i] ? candidate.encoding : elsewhere.encodings[i];
  }
  return best;
}

}  // namespace orvel
