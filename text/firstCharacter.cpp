#include "text/firstCharacter.h"

#include <cassert>

#include "base/Utf8.h"
#include "text/CodeTables.h"
#include "text/MissingCharacters.h"

namespace orvel {

namespace {

constexpr unsigned kNoCell = ~0U;

constexpr bool within(unsigned value, unsigned low, unsigned high) {
  return value >= low && value <= high;
}

/// A character of a table; invalid past its end.
Decoded fromTable(std::u16string_view table, unsigned index, unsigned size,
                  unsigned cell = kNoCell) {
  const char32_t code = index < table.size() ? table[index] : utf8::kReplacement;
  return {code, size, code != utf8::kReplacement, cell};
}

/// A character that was computed instead of looked up.
Decoded computed(char32_t code, unsigned size) {
  return {code, size, code != utf8::kReplacement, kNoCell};
}

/// The Han characters that GB 2312 lacks, in the order of GBK.
const MissingCharacters& gbkHan() {
  static const MissingCharacters characters = [] {
    MissingCharacters missing(0x4E00, 0x9FA5);
    missing.remove(gb2312Table);
    missing.count();
    return missing;
  }();
  return characters;
}

/// The characters of the Basic Multilingual Plane that take four bytes in GB 18030.
const MissingCharacters& gb18030Rest() {
  static const MissingCharacters characters = [] {
    MissingCharacters missing(0x80, 0xFFFF);
    for (const auto& table : {gb2312Table, gbkSymbolTable, gbkTailTable}) missing.remove(table);
    for (char32_t han = 0x4E00; han <= 0x9FA5; ++han) missing.remove(han);
    // Surrogates, and the private-use characters with two-byte codes: all up to U+E864 but the last
    // 81.
    for (char32_t other = 0xD800; other <= 0xE864 - 81; ++other) missing.remove(other);
    missing.count();
    return missing;
  }();
  return characters;
}

/// Two bytes: the rows of GB 2312, surrounded by two areas for the Han characters that it lacks.
/// The first area has 190 codes per lead byte, the second 96.
Decoded gb18030(unsigned lead, unsigned trail) {
  if (lead >= 0xA1 && trail >= 0xA1) {
    const unsigned index = (lead - 0xA1) * 94 + trail - 0xA1;
    constexpr unsigned kFirstHan = (0xB0 - 0xA1) * 94;
    return fromTable(gb2312Table, index, 2, index < kFirstHan ? kNoCell : index - kFirstHan);
  }
  if (!within(trail, 0x40, 0xFE) || trail == 0x7F) return {};
  const unsigned column = trail - 0x40 - (trail > 0x7F);
  if (lead < 0xA1) return computed(gbkHan().at((lead - 0x81) * 190 + column), 2);
  if (within(lead, 0xA8, 0xA9)) return fromTable(gbkSymbolTable, (lead - 0xA8) * 96 + column, 2);
  if (lead < 0xAA) return {};
  constexpr unsigned kFirst = 32 * 190;
  constexpr unsigned kEnd = 14139;
  const unsigned number = kFirst + (lead - 0xAA) * 96 + column;
  return number < kEnd ? computed(gbkHan().at(number), 2)
                       : fromTable(gbkTailTable, number - kEnd, 2);
}

/// Four bytes; the second and the fourth are ASCII digits.
Decoded gb18030Long(std::string_view bytes) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  if (bytes.size() < 4) {
    const bool cut = bytes.size() < 3 || within(byte(2), 0x81, 0xFE);
    return {.size = cut ? static_cast<unsigned>(bytes.size()) : 1, .cut = cut};
  }
  if (!within(byte(2), 0x81, 0xFE) || !within(byte(3), 0x30, 0x39)) return {};
  const unsigned number =
      (((byte(0) - 0x81U) * 10 + byte(1) - 0x30U) * 126 + byte(2) - 0x81U) * 10 + byte(3) - 0x30U;
  constexpr unsigned kSupplementary = 189000;
  if (number < kSupplementary) return computed(gb18030Rest().at(number), 4);
  const char32_t code = 0x10000 + number - kSupplementary;
  return computed(code <= 0x10FFFF ? code : utf8::kReplacement, 4);
}

constexpr unsigned kBig5Trails = 157;
/// Cells of Big5 in its language model: the common characters, and Hong Kong's behind them.
constexpr unsigned kFirstHan = (0xA4 - 0xA1) * kBig5Trails, kHanEnd = (0xC7 - 0xA1) * kBig5Trails;

/// A character that Hong Kong added to Big5.
Decoded hongKong(unsigned lead, unsigned column) {
  constexpr unsigned kLeadsInFront = 0xA1 - 0x87;
  const unsigned row = lead < 0xA1 ? lead - 0x87 : kLeadsInFront + lead - 0xFA;
  const unsigned index = row * kBig5Trails + column;
  const bool plane2 = (hkscsPlane2[index / 16] >> index % 16 & 1U) != 0;
  const char32_t code = hkscsTable[index] + (plane2 ? 0x20000U : 0U);
  return {code, 2, code != utf8::kReplacement, kHanEnd - kFirstHan + index};
}

Decoded big5(unsigned lead, unsigned trail) {
  const bool low = within(trail, 0x40, 0x7E);
  if (!low && !within(trail, 0xA1, 0xFE)) return {};
  if (lead < 0x87) return {.size = low ? 1U : 2U};
  const unsigned column = low ? trail - 0x40 : trail - 0xA1 + 63;
  if (lead < 0xA1 || lead > 0xF9) return hongKong(lead, column);
  const unsigned index = (lead - 0xA1) * kBig5Trails + column;
  const bool common = index >= kFirstHan && index < kHanEnd;
  return fromTable(big5Table, index, 2, common ? index - kFirstHan : kNoCell);
}

/// The character at a row and a cell of the Japanese table, both counted from 1.
Decoded japanese(unsigned row, unsigned cell, unsigned size) {
  constexpr unsigned kKanaRow = 4;
  const unsigned place = within(row, kKanaRow, 84) ? (row - kKanaRow) * 94 + cell - 1 : kNoCell;
  // The table leaves out the rows without characters.
  unsigned line = kNoCell;
  if (within(row, 1, 8)) line = row - 1;
  if (row == 13) line = 8;
  if (within(row, 16, 84)) line = row - 16 + 9;
  if (within(row, 115, 119)) line = row - 115 + 78;
  if (line == kNoCell) return {.size = size};
  return fromTable(jisTable, line * 94 + cell - 1, size, place);
}

Decoded shiftJis(unsigned lead, unsigned trail) {
  if (!within(trail, 0x40, 0xFC) || trail == 0x7F) return {};
  const unsigned rowPair = (lead - (lead < 0xA0 ? 0x81 : 0xC1)) * 2;
  if (trail >= 0x9F) return japanese(rowPair + 2, trail - 0x9E, 2);
  return japanese(rowPair + 1, trail - 0x3F - (trail > 0x7F), 2);
}

/// Code page 949 numbers the Hangul syllables that KS X 1001 lacks in Unicode order.
Decoded korean(unsigned lead, unsigned trail) {
  if (lead >= 0xA1 && trail >= 0xA1) {
    const unsigned index = (lead - 0xA1) * 94 + trail - 0xA1;
    constexpr unsigned kFirstHangul = (0xB0 - 0xA1) * 94;
    return fromTable(koreanTable, index, 2, index < kFirstHangul ? kNoCell : index - kFirstHangul);
  }
  static const MissingCharacters extension = [] {
    MissingCharacters missing(0xAC00, 0xD7A3);
    missing.remove(koreanTable);
    missing.count();
    return missing;
  }();
  unsigned column = kNoCell;
  if (within(trail, 0x41, 0x5A)) column = trail - 0x41;
  if (within(trail, 0x61, 0x7A)) column = trail - 0x61 + 26;
  if (within(trail, 0x81, 0xFE)) column = trail - 0x81 + 52;
  if (column == kNoCell) return {};
  if (lead <= 0xA0) return computed(extension.at((lead - 0x81) * 178 + column), 2);
  return column < 84 ? computed(extension.at(32 * 178 + (lead - 0xA1) * 84 + column), 2)
                     : Decoded{};
}

/// The table is a vendor's. In EUC-JP these characters have the meanings of the standard.
char32_t standardJapanese(char32_t code) {
  constexpr std::u32string_view kVendor = U"\uFF5E\u2225\uFF0D\uFFE0\uFFE1\uFFE2";
  constexpr std::u32string_view kStandard = U"\u301C\u2016\u2212\u00A2\u00A3\u00AC";
  const std::size_t place = kVendor.find(code);
  return place == std::u32string_view::npos ? code : kStandard[place];
}

/// EUC-JP has a lead byte of its own for half-width katakana.
Decoded eucJp(std::string_view bytes, unsigned lead, unsigned trail) {
  if (lead == 0x8E)
    return within(trail, 0xA1, 0xDF) ? computed(0xFF61 + trail - 0xA1, 2) : Decoded{};
  const bool high = within(trail, 0xA1, 0xFE);
  if (lead == 0x8F && high) return {.size = bytes.size() < 3 ? 2U : 3U, .cut = bytes.size() < 3};
  if (lead < 0xA1 || !high) return {};
  Decoded found = japanese(lead - 0xA0, trail - 0xA0, 2);
  found.code = standardJapanese(found.code);
  return found;
}

bool isLead(Encoding encoding, unsigned byte) {
  if (encoding == Encoding::EucJp) return within(byte, 0xA1, 0xFE) || within(byte, 0x8E, 0x8F);
  if (encoding == Encoding::ShiftJis) return within(byte, 0x81, 0x9F) || within(byte, 0xE0, 0xFC);
  return within(byte, 0x81, 0xFE);
}

}  // namespace

Decoded firstCharacter(Encoding encoding, std::string_view bytes) {
  assert(!bytes.empty() && !isSingleByte(encoding));
  const unsigned lead = static_cast<unsigned char>(bytes[0]);
  if (lead < 0x80) return {lead, 1, true};
  if (encoding == Encoding::Utf8) {
    const utf8::Character character = utf8::first(bytes);
    const bool cut = !character.valid && character.size == bytes.size() && lead >= 0xC2;
    return {character.code, character.size, character.valid, kNoCell, cut};
  }
  if (encoding == Encoding::ShiftJis && within(lead, 0xA1, 0xDF))
    return computed(0xFF61 + lead - 0xA1, 1);
  if (!isLead(encoding, lead)) return {};
  if (bytes.size() == 1) return {.cut = true};
  const unsigned trail = static_cast<unsigned char>(bytes[1]);
  switch (encoding) {
    case Encoding::Gb18030:
      return within(trail, 0x30, 0x39) ? gb18030Long(bytes) : gb18030(lead, trail);
    case Encoding::Big5:
      return big5(lead, trail);
    case Encoding::ShiftJis:
      return shiftJis(lead, trail);
    case Encoding::EucKr:
      return korean(lead, trail);
    default:
      return eucJp(bytes, lead, trail);
  }
}

}  // namespace orvel
