#include "text/EncodingGuess.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <optional>

#include "text/TrackScore.h"
#include "text/firstCharacter.h"

namespace orvel {

namespace {

constexpr unsigned kNat = TrackScore::kNat;

/// The margin by which an encoding must explain a track better than windows-1252, the commonest.
struct Priority {
  unsigned handicap = 0;
  Encoding encoding = Encoding::Windows1252;
  std::optional<Encoding> like = {};  ///< a more frequent encoding that shares most codes
};

constexpr Priority kPriorities[] = {
    {0, Encoding::Windows1252},
    {2 * kNat, Encoding::Utf8},
    {6 * kNat, Encoding::Gb18030},
    {6 * kNat, Encoding::ShiftJis},
    {6 * kNat, Encoding::EucKr},
    {6 * kNat, Encoding::Big5},
    {6 * kNat, Encoding::Windows1254},
    {6 * kNat, Encoding::Windows1250},
    {7 * kNat, Encoding::Windows1251},
    {7 * kNat, Encoding::EucJp},
    {8 * kNat, Encoding::Windows1256},
    {8 * kNat, Encoding::Windows1253},
    {8 * kNat, Encoding::Tis620},
    {8 * kNat, Encoding::Windows1255},
    {8 * kNat, Encoding::Koi8},
    {8 * kNat, Encoding::Iso8859_2, Encoding::Windows1250},
    {4 * kNat, Encoding::Iso8859_15, Encoding::Windows1252},
    {9 * kNat, Encoding::Iso8859_16, Encoding::Windows1250},
    {16 * kNat, Encoding::Windows1257},
    {16 * kNat, Encoding::Windows1258},
};

/// An encoding that a region moves up in the list.
struct RegionPriority {
  TextRegion region;
  Encoding encoding;
};

constexpr unsigned kRegionBonus = 4 * kNat;
constexpr unsigned kUnicodeTagger = 12 * kNat;

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

unsigned handicap(const Priority& priority, bool unicodeSeen, TextRegion region) {
  if (priority.encoding == Encoding::Windows1252) return 0;
  const bool preferred = std::ranges::any_of(kRegionPriorities, [&](const RegionPriority& entry) {
    return entry.region == region && entry.encoding == priority.encoding;
  });
  const unsigned bonus = preferred ? std::min(kRegionBonus, priority.handicap) : 0;
  return priority.handicap - bonus + (unicodeSeen ? kUnicodeTagger : 0);
}

/// How strongly a track's texts look like UTF-8.
enum class Utf8Evidence { None, Possible, Certain };

/// Judges well-formed texts, whose ends may be cut off: a sequence of two bytes makes UTF-8
/// possible; a longer one makes it certain, because it hardly occurs by chance.
Utf8Evidence utf8Evidence(std::span<const std::string_view> texts) {
  unsigned longest = 1;
  for (std::string_view text : texts) {
    while (!text.empty()) {
      const Decoded character = firstCharacter(Encoding::Utf8, text);
      if (!character.valid && !character.cut) return Utf8Evidence::None;
      if (character.valid) longest = std::max(longest, character.size);
      text.remove_prefix(character.size);
    }
  }
  if (longest == 1) return Utf8Evidence::None;
  return longest == 2 ? Utf8Evidence::Possible : Utf8Evidence::Certain;
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

/// True when two eight-bit encodings assign the same characters to these bytes.
bool alike(Encoding first, Encoding second, const UpperBytes& used) {
  const std::u16string_view a = upperHalf(first), b = upperHalf(second);
  for (std::size_t i = 0; i < used.size(); ++i) {
    if (used[i] && a[i] != b[i]) return false;
  }
  return true;
}

}  // namespace

Encoding guessEncoding(std::span<const std::string_view> texts, bool unicodeSeen,
                       TextRegion region) {
  const Utf8Evidence utf8 = utf8Evidence(texts);
  if (utf8 == Utf8Evidence::Certain) return Encoding::Utf8;
  const TrackScore score(texts);
  const UpperBytes used = upperBytesOf(texts);
  Encoding best = Encoding::Windows1252;
  unsigned least = ~0U;
  for (const Priority& priority : kPriorities) {
    if (priority.encoding == Encoding::Utf8 && utf8 == Utf8Evidence::None) continue;
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
