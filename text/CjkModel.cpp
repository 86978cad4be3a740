#include "text/CjkModel.h"

#include "text/PrintableDigit.h"

namespace orvel {
namespace {

/// Costs of single characters are kept as one of nine levels.
constexpr unsigned levels = 9, lowestLevel = 12, levelStep = 7;

}  // namespace

CjkModel::Class CjkModel::classOf(char32_t c) {
  const auto within = [c](char32_t low, char32_t high) { return c >= low && c <= high; };
  if (c <= 0x20) return blank;
  if (c < 0x80) return within('a', 'z') || within('A', 'Z') ? letter : ascii;
  if (within(0x3041, 0x309E)) return hiragana;
  if (within(0x30A1, 0x30FE)) return katakana;
  if (within(0x4E00, 0x9FFF) || within(0xF900, 0xFAFF) || c == 0x3005) return han;
  if (within(0xAC00, 0xD7A3)) return hangul;
  if (within(0xFF61, 0xFF9F)) return halfWidth;
  const bool common = within(0x3000, 0x3020) || within(0xFF01, 0xFF5E) || within(0x2010, 0x2026);
  return common ? mark : rare;
}

unsigned CjkModel::cost(Class kind, unsigned cell) const {
  if (cell / 2 >= cells.size()) return printableDigit(unlisted[kind]);
  const unsigned both = printableDigit(cells[cell / 2]);
  return lowestLevel + levelStep * (cell % 2 == 0 ? both / levels : both % levels);
}

unsigned CjkModel::pairCost(Class first, Class second) const {
  return printableDigit(pairs[first * classes + second]);
}

}  // namespace orvel
