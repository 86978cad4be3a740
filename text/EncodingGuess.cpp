#include "text/EncodingGuess.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <optional>

#include "text/TrackScore.h"

namespace orvel {
namespace {

constexpr unsigned nat = TrackScore::nat;

/// By how much an encoding must explain a track better than windows-1252, which most tags have, to
/// be taken for it.
struct Priority {
  unsigned handicap = 0;
  Encoding encoding = Encoding::windows1252;
  std::optional<Encoding> like = {};  ///< a more frequent encoding that has most bytes in common
};

constexpr Priority priorities[] = {
    {0, Encoding::windows1252},
    {2 * nat, Encoding::utf8},
    {6 * nat, Encoding::gb18030},
    {6 * nat, Encoding::shiftJis},
    {6 * nat, Encoding::eucKr},
    {6 * nat, Encoding::big5},
    {6 * nat, Encoding::windows1254},
    {6 * nat, Encoding::windows1250},
    {7 * nat, Encoding::windows1251},
    {7 * nat, Encoding::eucJp},
    {8 * nat, Encoding::windows1256},
    {8 * nat, Encoding::windows1253},
    {8 * nat, Encoding::tis620},
    {8 * nat, Encoding::windows1255},
    {8 * nat, Encoding::koi8},
    {8 * nat, Encoding::iso8859_2, Encoding::windows1250},
    {4 * nat, Encoding::iso8859_15, Encoding::windows1252},
    {9 * nat, Encoding::iso8859_16, Encoding::windows1250},
    {16 * nat, Encoding::windows1257},
    {16 * nat, Encoding::windows1258},
};

/// The encodings that a region moves up in the list.
struct RegionPriority {
  TextRegion region;
  Encoding encoding;
};

constexpr unsigned regionBonus = 4 * nat;
constexpr unsigned unicodeTagger = 12 * nat;

constexpr RegionPriority regionPriorities[] = {
    {TextRegion::CentralEurope, Encoding::windows1250},
    {TextRegion::CentralEurope, Encoding::iso8859_2},
    {TextRegion::CentralEurope, Encoding::iso8859_16},
    {TextRegion::Turkey, Encoding::windows1254},
    {TextRegion::Baltic, Encoding::windows1257},
    {TextRegion::Vietnam, Encoding::windows1258},
    {TextRegion::EasternEurope, Encoding::windows1251},
    {TextRegion::EasternEurope, Encoding::koi8},
    {TextRegion::Greece, Encoding::windows1253},
    {TextRegion::Arabia, Encoding::windows1256},
    {TextRegion::Israel, Encoding::windows1255},
    {TextRegion::Thailand, Encoding::tis620},
    {TextRegion::China, Encoding::gb18030},
    {TextRegion::Taiwan, Encoding::big5},
    {TextRegion::Japan, Encoding::shiftJis},
    {TextRegion::Japan, Encoding::eucJp},
    {TextRegion::Korea, Encoding::eucKr},
};

unsigned handicap(const Priority& priority, bool unicodeSeen, TextRegion region) {
  if (priority.encoding == Encoding::windows1252) return 0;
  const bool preferred = std::ranges::any_of(regionPriorities, [&](const RegionPriority& entry) {
    return entry.region == region && entry.encoding == priority.encoding;
  });
  const unsigned bonus = preferred ? std::min(regionBonus, priority.handicap) : 0;
  return priority.handicap - bonus + (unicodeSeen ? unicodeTagger : 0);
}

/// What a track's texts are as UTF-8.
enum class Utf8Evidence { none, possible, certain };

/// Well-formed texts, of which the ends may be cut off, are possible with a sequence of two bytes
/// and certain with a longer one, which does not come about by chance.
Utf8Evidence utf8Evidence(std::span<const std::string_view> texts) {
  unsigned longest = 1;
  for (std::string_view text : texts) {
    while (!text.empty()) {
      const Decoded character = firstCharacter(Encoding::utf8, text);
      if (!character.valid && !character.cut) return Utf8Evidence::none;
      if (character.valid) longest = std::max(longest, character.size);
      text.remove_prefix(character.size);
    }
  }
  if (longest == 1) return Utf8Evidence::none;
  return longest == 2 ? Utf8Evidence::possible : Utf8Evidence::certain;
}

using UpperBytes = std::bitset<128>;

UpperBytes upperBytesOf(std::span<const std::string_view> texts) {
  UpperBytes used;
  for (const std::string_view text : texts) {
    for (const unsigned char byte : text) {
      if (byte >= 0x80) used.set(byte - 0x80);
    }
  }
  return used;
}

/// True when two eight-bit encodings read these bytes alike.
bool alike(Encoding first, Encoding second, const UpperBytes& used) {
  const std::u16string_view a = upperHalf(first), b = upperHalf(second);
  for (size_t i = 0; i < used.size(); ++i) {
    if (used[i] && a[i] != b[i]) return false;
  }
  return true;
}

}  // namespace

Encoding guessEncoding(std::span<const std::string_view> texts, bool unicodeSeen,
                       TextRegion region) {
  const Utf8Evidence utf8 = utf8Evidence(texts);
  if (utf8 == Utf8Evidence::certain) return Encoding::utf8;
  const TrackScore score(texts);
  const UpperBytes used = upperBytesOf(texts);
  Encoding best = Encoding::windows1252;
  unsigned least = ~0U;
  for (const Priority& priority : priorities) {
    if (priority.encoding == Encoding::utf8 && utf8 == Utf8Evidence::none) continue;
    if (priority.like && alike(priority.encoding, *priority.like, used)) continue;
    const unsigned start = handicap(priority, unicodeSeen, region);
    if (start >= least) continue;
    const unsigned cost = start + score.cost(priority.encoding, least - start);
    if (cost < least) {
      least = cost;
      best = priority.encoding;
    }
  }
  return best;
}

}  // namespace orvel
