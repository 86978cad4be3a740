#include "text/CjkModel.h"

#include "text/PrintableDigit.h"

namespace orvel {

namespace {

/// The costs of single characters are stored as one of nine levels.
constexpr unsigned kLevels = 9, kLowestLevel = 12, kLevelStep = 7;

}  // namespace

CjkModel::Class CjkModel::classOf(char32_t c) {
  const auto within = [c](char32_t low, char32_t high) { return c >= low && c <= high; };
  if (c <= 0x20) return Blank;
  if (c < 0x80) return within('a', 'z') || within('A', 'Z') ? Letter : Ascii;
  if (within(0x3041, 0x309E)) return Hiragana;
  if (within(0x30A1, 0x30FE)) return Katakana;
  if (within(0x3400, 0x9FFF) || within(0x20000, 0x2FFFF) || within(0xF900, 0xFAFF) || c == 0x3005)
    return Han;
  if (within(0xAC00, 0xD7A3)) return Hangul;
  if (within(0xFF61, 0xFF9F)) return HalfWidth;
  const bool common = within(0x3000, 0x3020) || within(0xFF01, 0xFF5E) || within(0x2010, 0x2026);
  return common ? Mark : Rare;
}

unsigned CjkModel::cost(Class kind, unsigned cell) const {
  if (cell / 2 >= cells.size()) return printableDigit(unlisted[kind]);
  const unsigned both = printableDigit(cells[cell / 2]);
  return kLowestLevel + kLevelStep * (cell % 2 == 0 ? both / kLevels : both % kLevels);
}

unsigned CjkModel::pairCost(Class first, Class second) const {
  return printableDigit(pairs[first * Classes + second]);
}

}  // namespace orvel
